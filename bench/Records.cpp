#include "Records.h"

#include <random>

namespace classxml::bench {

std::vector<Record> MakeRecords(std::size_t count) {
    std::mt19937 random(20261123);
    const auto word = [&](std::size_t length) {
        std::string text(length, 'a');
        for (char& letter : text)
            letter = static_cast<char>('a' + random() % 26);
        return text;
    };
    std::vector<Record> records(count);
    for (std::size_t i = 0; i < count; ++i) {
        Record& record = records[i];
        record.id = static_cast<std::int32_t>(i);
        record.value = static_cast<double>(random()) / 1000.0;
        record.name = word(8 + random() % 17);
        record.flag = random() % 2 == 0;
        for (int k = 0; k < 8; ++k)
            record.readings.push_back(static_cast<std::int32_t>(random() % 100000) - 50000);
        for (int k = 0; k < 4; ++k)
            record.tags[word(6)] = static_cast<std::int32_t>(random() % 1000);
    }
    return records;
}

} // namespace classxml::bench
