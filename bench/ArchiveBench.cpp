// The archive over the handle, against the same document written and read with hand-written
// handle calls, on 10,000 records of an int, a double, a short string, a bool, a vector of 8
// ints and a map of 4 strings to ints: write is build and save into a UTF-8 string, read is
// parse and walk back into records.
#include <cstdio>
#include <string>

#include <benchmark/benchmark.h>

#include "BenchmarkRatios.h"
#include "HandleRecords.h"
#include "RecordArchive.h"

namespace classxml::bench {

struct Records {
    std::vector<Record> records;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(records));
    }
};

namespace {

using Handle = CXMLClassReaderWriter;

// The archive's document, written by hand.
std::string WriteByHand(const Records& all) {
    Handle root(boost::shared_ptr<CLoggingFile>(), Handle::XMLIOTYPE_XERCES, true);
    root.CreateDocument(WIDE("Records"), {}, {});
    Handle records = root.AddVECTORProperty(WIDE("records"), WIDE("Record"));
    for (const Record& record : all.records) {
        Handle element = records.CreateClass(WIDE("Record"), WIDE(""));
        AddRecordMembers(element, record);
    }
    std::string xml;
    SaveAndRelease(root, &xml);
    return xml;
}

// Read by hand, as such code is written: members in the order they were written.
Records ReadByHand(const std::string& xml) {
    Records all;
    Handle root(boost::shared_ptr<CLoggingFile>(), Handle::XMLIOTYPE_XERCES, true);
    if (!root.ReadFromString(CBasicStringView<char>(xml.data(), xml.size()))) return all;
    Handle records = root.GetFirstSubElement(WIDE("records"));
    for (Handle element = records.GetFirstSubElement(); element.IsDefined();
         element = element.GetNextElement())
        GetRecordMembers(element, all.records.emplace_back());
    root.ReleaseDocument();
    return all;
}

Records g_records;
std::string g_xml;

void WriteArchive(benchmark::State& state) {
    for (auto _ : state) {
        std::string xml;
        classxml::SaveToString(xml, g_records);
        benchmark::DoNotOptimize(xml.size());
    }
}
void WriteHand(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(WriteByHand(g_records).size());
}
void ReadArchive(benchmark::State& state) {
    for (auto _ : state) {
        Records records;
        classxml::LoadFromString(g_xml, records);
        benchmark::DoNotOptimize(records.records.size());
    }
}
void ReadHand(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(ReadByHand(g_xml).records.size());
}

} // namespace
} // namespace classxml::bench

int main(int argc, char** argv) {
    using namespace classxml::bench;
    g_records.records = MakeRecords(10'000);
    g_xml = WriteByHand(g_records);
    std::string byArchive;
    Records read;
    if (!classxml::SaveToString(byArchive, g_records) || byArchive != g_xml ||
        !classxml::LoadFromString(g_xml, read) || read.records != g_records.records ||
        ReadByHand(g_xml).records != g_records.records) {
        std::fprintf(stderr, "the two sides do not do the same work\n");
        return 1;
    }
    Register("write/archive", WriteArchive, 1, 9);
    Register("write/handle", WriteHand, 1, 9);
    Register("read/archive", ReadArchive, 1, 9);
    Register("read/handle", ReadHand, 1, 9);
    return RunAndCompare(
        argc, argv,
        {{"write 10,000 records, build and save", "write/archive", "write/handle", 1.1},
         {"read 10,000 records, parse and walk", "read/archive", "read/handle", 1.1}});
}
