#pragma once

#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <vector>

// The records the end-to-end, archive and stream benchmarks store: one class element each, in
// the format the handle writes (see HandleRecords.cpp).
namespace classxml::bench {

struct Record {
    std::int32_t id = 0;
    double value = 0;
    std::string name; // 8 to 24 letters
    bool flag = false;
    std::vector<std::int32_t> readings;       // 8
    std::map<std::string, std::int32_t> tags; // 4

    bool operator==(const Record&) const = default;
};

// Records made one at a time, the same sequence in every run.
class RecordMaker {
public:
    Record Next();

private:
    std::mt19937 m_random{20261123};
    std::int32_t m_made = 0;
};

// The first `count` records of the sequence.
std::vector<Record> MakeRecords(std::size_t count);

} // namespace classxml::bench
