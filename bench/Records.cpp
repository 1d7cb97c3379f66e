#include "Records.h"

namespace classxml::bench {

Record RecordMaker::Next() {
    const auto word = [&](std::size_t length) {
        std::string text(length, 'a');
        for (char& letter : text)
            letter = static_cast<char>('a' + m_random() % 26);
        return text;
    };
    Record record;
    record.id = m_made++;
    record.value = static_cast<double>(m_random()) / 1000.0;
    record.name = word(8 + m_random() % 17);
    record.flag = m_random() % 2 == 0;
    for (int k = 0; k < 8; ++k)
        record.readings.push_back(static_cast<std::int32_t>(m_random() % 100000) - 50000);
    for (int k = 0; k < 4; ++k)
        record.tags[word(6)] = static_cast<std::int32_t>(m_random() % 1000);
    return record;
}

std::vector<Record> MakeRecords(std::size_t count) {
    RecordMaker maker;
    std::vector<Record> records;
    records.reserve(count);
    for (std::size_t i = 0; i < count; ++i)
        records.push_back(maker.Next());
    return records;
}

} // namespace classxml::bench
