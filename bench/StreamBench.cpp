// The stream engine, through the archive, against the DOM path (the handle) and against cereal's
// XML archive, on 100,000 records of an int, a double, a string of 8 to 24 letters, a bool, a
// vector of 8 ints and a map of 4 strings to ints: write is the records into a UTF-8 string,
// read is that string back into records. Then the memory each takes, from a fresh process per
// side: the stream engine writes and reads a file one record at a time.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <type_traits>

#include <benchmark/benchmark.h>
#include <cereal/archives/xml.hpp>
#include <cereal/types/map.hpp>
#include <cereal/types/string.hpp>
#include <cereal/types/vector.hpp>

#include "BenchmarkRatios.h"
#include "HandleRecords.h"
#include "RecordArchive.h"
#include "SaxRecords.h"
#include "classxml/platform/ProcessMemory.h"

namespace classxml::bench {

// cereal's own form of the same members.
template <class Archive>
requires(
    std::is_base_of_v<cereal::detail::OutputArchiveBase, Archive> ||
    std::is_base_of_v<cereal::detail::InputArchiveBase, Archive>) void serialize(Archive& ar,
                                                                                 Record& record) {
    ar(cereal::make_nvp("id", record.id), cereal::make_nvp("value", record.value),
       cereal::make_nvp("name", record.name), cereal::make_nvp("flag", record.flag),
       cereal::make_nvp("readings", record.readings), cereal::make_nvp("tags", record.tags));
}

namespace {

using Handle = CXMLClassReaderWriter;

constexpr std::size_t kRecords = 100'000;
std::vector<Record> g_records;
std::string g_streamXml, g_domXml, g_cerealXml;

std::string WriteStream(const std::vector<Record>& records) {
    std::string xml;
    ObjectWriter out(InString{xml}, "Records");
    for (const Record& record : records)
        out.Write(record);
    return out.Finish() ? xml : std::string();
}

std::vector<Record> ReadStream(std::string_view xml) {
    std::vector<Record> records;
    ObjectReader in(FromString{xml}, "Records");
    for (Record record; in.Read(record);)
        records.push_back(std::move(record));
    if (!in.Finish()) return {};
    return records;
}

std::string WriteCereal(const std::vector<Record>& records) {
    std::ostringstream out;
    {
        cereal::XMLOutputArchive archive(out);
        archive(cereal::make_nvp("records", records));
    }
    return std::move(out).str();
}

std::vector<Record> ReadCereal(const std::string& xml) {
    std::vector<Record> records;
    std::istringstream in(xml);
    cereal::XMLInputArchive archive(in);
    archive(cereal::make_nvp("records", records));
    return records;
}

void WriteStreamSide(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(WriteStream(g_records).size());
}
void WriteDomSide(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(WriteWithHandle(g_records));
}
void WriteCerealSide(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(WriteCereal(g_records).size());
}
void ReadStreamSide(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(ReadStream(g_streamXml).size());
}
// The same reads on a tenth of the records.
std::string g_smallXml;
template <class Read>
void Side(benchmark::State& state, const std::string& xml, Read read) {
    for (auto _ : state)
        benchmark::DoNotOptimize(read(xml));
}
template <Scan scan>
void ReadSaxSide(benchmark::State& state) {
    Side(state, g_streamXml, [](const std::string& xml) { return ReadWithSax(xml, scan); });
}
void ReadSaxSmallSide(benchmark::State& state) {
    Side(state, g_smallXml, [](const std::string& xml) { return ReadWithSax(xml); });
}
void ReadStreamSmallSide(benchmark::State& state) {
    Side(state, g_smallXml, [](const std::string& xml) { return ReadStream(xml).size(); });
}
void EventsStreamSide(benchmark::State& state) { Side(state, g_streamXml, CountStreamEvents); }
template <Scan scan>
void EventsSaxSide(benchmark::State& state) {
    Side(state, g_streamXml, [](const std::string& xml) { return CountWithSax(xml, scan); });
}
void EventsStreamSmallSide(benchmark::State& state) { Side(state, g_smallXml, CountStreamEvents); }
void EventsSaxSmallSide(benchmark::State& state) {
    Side(state, g_smallXml, [](const std::string& xml) { return CountWithSax(xml); });
}
void ReadTypedSide(benchmark::State& state) { Side(state, g_streamXml, ReadWithStreamReader); }
void ReadEventsSide(benchmark::State& state) { Side(state, g_streamXml, ReadWithStreamEvents); }

void ReadDomSide(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(ReadWithHandle(g_domXml).size());
}
void ReadCerealSide(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(ReadCereal(g_cerealXml).size());
}

// One side, once, in this fresh process: how far it raised the peak resident memory beyond
// what the process held before. The stream engine writes and reads `file` a record at a time;
// the others hold their records and their document's text in memory, as they must, before the
// measure starts. A read reads the document of `count` records in `file`.
double PeakGrowth(const std::string& side, std::size_t count, const std::string& file) {
    std::vector<Record> records;
    std::string xml;
    if (side == "write-dom" || side == "write-cereal") records = MakeRecords(count);
    if (side == "read-dom" || side == "read-cereal") {
        std::ifstream in(file, std::ios::binary);
        xml.assign(std::istreambuf_iterator<char>(in), {});
    }
    const double before = double(platform::PeakResidentBytes());
    if (side == "write-stream") {
        RecordMaker maker;
        ObjectWriter out(InFile{file}, "Records");
        for (std::size_t i = 0; i < count; ++i)
            out.Write(maker.Next());
        if (!out.Finish()) return -1;
    } else if (side == "read-stream") {
        ObjectReader in(FromFile{file}, "Records");
        std::size_t read = 0;
        for (Record record; in.Read(record);)
            ++read;
        if (!in.Finish() || read != count) return -1;
    } else if (side == "write-dom") {
        WriteWithHandle(records);
    } else if (side == "read-dom") {
        if (ReadWithHandle(xml).size() != count) return -1;
    } else if (side == "write-cereal") {
        benchmark::DoNotOptimize(WriteCereal(records).size());
    } else if (side == "read-cereal") {
        if (ReadCereal(xml).size() != count) return -1;
    }
    return (double(platform::PeakResidentBytes()) - before) / (1 << 20);
}

// Each side's peak growth, from a process of its own; the stream engine's at two sizes, to
// show that it does not grow with the number of records.
bool PrintPeaks(const char* program) {
    const auto scratch = ScratchDirectory("classxml-stream");
    const std::string file = (scratch / "records.xml").string();
    const std::string output = (scratch / "peak.txt").string();
    const auto peak = [&](const std::string& side, std::size_t count) {
        if (side == "read-dom") WriteWithHandle(MakeRecords(count), &g_domXml);
        if (side == "read-dom" || side == "read-cereal")
            std::ofstream(file, std::ios::binary)
                << (side == "read-dom" ? g_domXml : WriteCereal(MakeRecords(count)));
        if (side == "read-stream")
            std::ofstream(file, std::ios::binary) << WriteStream(MakeRecords(count));
        const std::string command = std::string(program) + " --peak=" + side + " " +
                                    std::to_string(count) + " " + file + " > " + output;
        double growth = -1;
        std::ifstream answer;
        if (std::system(command.c_str()) == 0) answer.open(output);
        answer >> growth;
        return growth;
    };
    std::printf("\npeak memory growth (MiB, a fresh process each)   stream 10,000  stream 100,000"
                "  DOM 100,000  cereal 100,000\n");
    bool within = true;
    for (const char* step : {"write", "read"}) {
        const double small = peak(std::string(step) + "-stream", 10'000);
        const double large = peak(std::string(step) + "-stream", kRecords);
        const double dom = peak(std::string(step) + "-dom", kRecords);
        const double cereal = peak(std::string(step) + "-cereal", kRecords);
        std::printf("%-6s %41.1f %15.1f %12.1f %15.1f\n", step, small, large, dom, cereal);
        within = within && small >= 0 && large >= 0 && large < 64 && large < small + 8;
    }
    std::printf("stream engine: under 64 MiB, and no more for 10 times the records: %s\n",
                within ? "ok" : "OVER");
    return within;
}

} // namespace
} // namespace classxml::bench

int main(int argc, char** argv) {
    using namespace classxml::bench;
    CXMLClassReaderWriter::InitXMLEngine(CXMLClassReaderWriter::XMLIOTYPE_XERCES);
    if (argc == 4 && std::string(argv[1]).starts_with("--peak=")) {
        std::printf("%.1f\n",
                    PeakGrowth(std::string(argv[1]).substr(7), std::stoul(argv[2]), argv[3]));
        return 0;
    }
    g_records = MakeRecords(kRecords);
    g_streamXml = WriteStream(g_records);
    WriteWithHandle(g_records, &g_domXml);
    g_cerealXml = WriteCereal(g_records);
    g_smallXml = WriteStream(MakeRecords(kRecords / 10));
    if (ReadStream(g_streamXml) != g_records || ReadWithHandle(g_domXml) != g_records ||
        ReadCereal(g_cerealXml) != g_records || ReadStream(g_domXml) != g_records ||
        ReadWithSax(g_streamXml) != g_records || ReadWithStreamReader(g_streamXml) != g_records ||
        ReadWithStreamEvents(g_streamXml) != g_records ||
        CountStreamEvents(g_streamXml) != CountWithSax(g_streamXml)) {
        std::fprintf(stderr, "the sides do not do the same work\n");
        return 1;
    }
    std::printf("documents: stream %zu bytes, DOM %zu bytes, cereal %zu bytes\n",
                g_streamXml.size(), g_domXml.size(), g_cerealXml.size());
    Register("write/stream", WriteStreamSide, 1, 7);
    Register("write/cereal", WriteCerealSide, 1, 7);
    Register("write/dom", WriteDomSide, 1, 3);
    Register("read/stream", ReadStreamSide, 1, 15);
    Register("read/cereal", ReadCerealSide, 1, 7);
    Register("read/dom", ReadDomSide, 1, 3);
    Register("read/sax", ReadSaxSide<Scan::Progressive>, 1, 15);
    Register("read/sax-whole", ReadSaxSide<Scan::Whole>, 1, 15);
    Register("read/stream-10k", ReadStreamSmallSide, 10, 15);
    Register("read/sax-10k", ReadSaxSmallSide, 10, 15);
    Register("events/stream", EventsStreamSide, 1, 15);
    Register("events/sax", EventsSaxSide<Scan::Progressive>, 1, 15);
    Register("events/sax-whole", EventsSaxSide<Scan::Whole>, 1, 15);
    Register("events/stream-10k", EventsStreamSmallSide, 10, 15);
    Register("events/sax-10k", EventsSaxSmallSide, 10, 15);
    Register("read/typed", ReadTypedSide, 1, 7);
    Register("read/events", ReadEventsSide, 1, 7);
    const int result = RunAndCompare(
        argc, argv,
        {{"write 100,000 records, stream / cereal", "write/stream", "write/cereal", 1.0},
         {"read 100,000 records, stream / cereal", "read/stream", "read/cereal", 0},
         {"read, ObjectReader / SAX2 by hand", "read/stream", "read/sax", 1.15},
         {"read 10,000, ObjectReader / SAX2 by hand", "read/stream-10k", "read/sax-10k", 1.15},
         {"events, StreamReader / empty SAX2", "events/stream", "events/sax", 1.05},
         {"events 10,000, StreamReader / empty SAX2", "events/stream-10k", "events/sax-10k", 1.05},
         {"typed reads / events and from_chars", "read/typed", "read/events", 1.05},
         {"read, ObjectReader / SAX2 by hand, whole", "read/stream", "read/sax-whole", 0},
         {"events, StreamReader / empty SAX2, whole", "events/stream", "events/sax-whole", 0},
         {"SAX2 by hand / cereal", "read/sax", "read/cereal", 0},
         {"write, stream / DOM", "write/stream", "write/dom", 0},
         {"read, stream / DOM", "read/stream", "read/dom", 0}});
    const bool peaks = PrintPeaks(argv[0]);
    CXMLClassReaderWriter::UninitXMLEngine(CXMLClassReaderWriter::XMLIOTYPE_XERCES);
    return result != 0 || !peaks ? 1 : 0;
}
