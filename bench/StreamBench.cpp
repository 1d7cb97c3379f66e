// The stream engine, through the archive, against the DOM path (the handle) and against cereal's
// XML archive, on 100,000 records of an int, a double, a string of 8 to 24 letters, a bool, a
// vector of 8 ints and a map of 4 strings to ints: write is the records into a UTF-8 string,
// read is that string back into records. The engine's scanner alone is set against Xerces' SAX2
// scanner with an empty handler and against a plain read of the same bytes.
//
// Then the memory each takes, from a fresh process per side: the stream engine writes and reads
// a file one record at a time, and steps through a document of one 256 MiB text.
//
// `--instructions [records]` counts each compared side's instructions instead, alone in a process
// of its own under callgrind, which does not move with the machine's load as time does.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
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
#include "HeapCount.h"
#include "RecordArchive.h"
#include "SaxRecords.h"
#include "classxml/platform/Utf.h"
#include "classxml/stream/StreamReader.h"

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

std::size_t g_recordCount = 100'000;

std::string WriteStream(const std::vector<Record>& records, bool indented = false) {
    std::string xml;
    ObjectWriter out(InString{xml}, "Records", SaveOptions{{}, Engine::Stream, indented});
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

// The floor under any scanner: every byte of the document looked at once.
std::size_t PlainRead(std::string_view xml) { return std::count(xml.begin(), xml.end(), '<'); }

// The inputs, each made on first use, so that a side measured alone makes only its own.
const std::vector<Record>& Records() {
    static const std::vector<Record> records = MakeRecords(g_recordCount);
    return records;
}
const std::string& StreamXml() {
    static const std::string xml = WriteStream(Records());
    return xml;
}
const std::string& SmallXml() {
    static const std::string xml = WriteStream(MakeRecords(g_recordCount / 10));
    return xml;
}
const std::string& DomXml() {
    static const std::string xml = [] {
        std::string text;
        WriteWithHandle(Records(), &text);
        return text;
    }();
    return xml;
}
const std::string& CerealXml() {
    static const std::string xml = WriteCereal(Records());
    return xml;
}

// Every side by its name: the work, and how often it is run for a median.
struct Side {
    const char* name;
    std::function<std::size_t()> work;
    int iterations = 1;
    int repetitions = 7;
};
const std::vector<Side>& Sides() {
    static const std::vector<Side> sides = {
        {"write/stream", [] { return WriteStream(Records()).size(); }},
        {"write/stream-indented", [] { return WriteStream(Records(), true).size(); }},
        {"write/cereal", [] { return WriteCereal(Records()).size(); }},
        {"write/dom", [] { return WriteWithHandle(Records()); }, 1, 3},
        {"read/stream", [] { return ReadStream(StreamXml()).size(); }, 1, 15},
        {"read/cereal", [] { return ReadCereal(CerealXml()).size(); }},
        {"read/dom", [] { return ReadWithHandle(DomXml()).size(); }, 1, 3},
        {"read/sax", [] { return ReadWithSax(StreamXml()).size(); }, 1, 15},
        {"read/sax-whole", [] { return ReadWithSax(StreamXml(), Scan::Whole).size(); }, 1, 15},
        {"read/stream-10k", [] { return ReadStream(SmallXml()).size(); }, 10, 15},
        {"read/sax-10k", [] { return ReadWithSax(SmallXml()).size(); }, 10, 15},
        {"read/typed", [] { return ReadWithStreamReader(StreamXml()).size(); }},
        {"read/events", [] { return ReadWithStreamEvents(StreamXml()).size(); }},
        {"events/scanner", [] { return CountStreamEvents(StreamXml()); }, 1, 15},
        {"events/parser", [] { return CountStreamEvents(StreamXml(), Reading::Parser); }, 1, 15},
        {"events/sax", [] { return CountWithSax(StreamXml()); }, 1, 15},
        {"events/sax-whole", [] { return CountWithSax(StreamXml(), Scan::Whole); }, 1, 15},
        {"bytes/plain", [] { return PlainRead(StreamXml()); }, 10, 15},
    };
    return sides;
}
const Side* SideNamed(std::string_view name) {
    for (const Side& side : Sides())
        if (name == side.name) return &side;
    return nullptr;
}

// The targets. Timed on this kind of machine a median moves by up to a fifth between runs, so
// a timed ratio is held to its target with that much room; counted instructions, which do not
// move, are held to the target itself.
constexpr double kTimedNoise = 1.2;
const std::vector<Ratio> kTargets = {
    {"events, scanner / empty SAX2", "events/scanner", "events/sax", 0.25},
    {"read, ObjectReader / cereal", "read/stream", "read/cereal", 0.8},
    {"read, StreamReader by hand / cereal", "read/typed", "read/cereal", 0.6},
    {"write, stream / cereal", "write/stream", "write/cereal", 0.6},
};

// Runs one side once, the only stretch of the process whose instructions are counted.
[[gnu::noinline]] std::size_t MeasuredOnce(const Side& side) { return side.work(); }

// Each target's sides counted alone, in a process of their own under callgrind.
int CountInstructions(const char* program) {
    const auto scratch = ScratchDirectory("classxml-instructions");
    std::map<std::string, double> counted;
    for (const Ratio& target : kTargets)
        for (const std::string& name : {target.measured, target.baseline}) {
            if (counted.contains(name)) continue;
            const std::string log = (scratch / "callgrind.log").string();
            const std::string command = "valgrind --tool=callgrind --callgrind-out-file=/dev/null "
                                        "--toggle-collect='*MeasuredOnce*' " +
                                        std::string(program) + " --side=" + name + " " +
                                        std::to_string(g_recordCount) + " > /dev/null 2> " + log;
            double instructions = 0;
            if (std::system(command.c_str()) == 0) {
                std::ifstream in(log);
                for (std::string line; std::getline(in, line);)
                    if (const auto at = line.find("Collected : "); at != std::string::npos)
                        instructions = std::stod(line.substr(at + 12));
            }
            if (instructions <= 0) {
                std::fprintf(stderr, "could not count %s (is valgrind installed?)\n", name.c_str());
                return 1;
            }
            counted[name] = instructions;
            std::printf("%-16s %16.0f instructions\n", name.c_str(), instructions);
        }
    int failures = 0;
    std::printf("\n%-44s %7s %7s\n", "comparison (instructions)", "ratio", "limit");
    for (const Ratio& target : kTargets) {
        const double ratio = counted[target.measured] / counted[target.baseline];
        const bool within = ratio <= target.limit;
        failures += within ? 0 : 1;
        std::printf("%-44s %7.3f %7.2f %s\n", target.label.c_str(), ratio, target.limit,
                    within ? "ok" : "OVER");
    }
    return failures == 0 ? 0 : 1;
}

// One side of the memory measure, once, in this fresh process: how far it raised the program's
// heap at its peak beyond what the process held before. The stream engine writes and reads
// `file` a record at a time, or steps through the events of `file`; the others hold their
// records and their document's text in memory, as they must, before the measure starts.
double PeakGrowth(const std::string& side, std::size_t count, const std::string& file) {
    std::vector<Record> records;
    std::string xml;
    if (side == "write-dom" || side == "write-cereal") records = MakeRecords(count);
    if (side == "read-dom" || side == "read-cereal") {
        std::ifstream in(file, std::ios::binary);
        xml.assign(std::istreambuf_iterator<char>(in), {});
    }
    heap::RestartPeak();
    const double before = double(heap::Live());
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
    } else if (side == "next-text") {
        StreamReader reader;
        reader.OpenFile(platform::Utf8ToUtf16(file));
        std::size_t texts = 0;
        StreamReader::Event event;
        while ((event = reader.Next()) != StreamReader::Event::End)
            if (event == StreamReader::Event::Error)
                return -1;
            else
                texts += event == StreamReader::Event::Text;
        if (texts == 0) return -1;
    } else if (side == "write-dom") {
        WriteWithHandle(records);
    } else if (side == "read-dom") {
        if (ReadWithHandle(xml).size() != count) return -1;
    } else if (side == "write-cereal") {
        benchmark::DoNotOptimize(WriteCereal(records).size());
    } else if (side == "read-cereal") {
        if (ReadCereal(xml).size() != count) return -1;
    }
    return (double(heap::Peak()) - before) / (1 << 20);
}

// A document of one text of `mebibytes` MiB, written a chunk at a time.
void WriteLongText(const std::string& file, std::size_t mebibytes) {
    std::ofstream out(file, std::ios::binary);
    std::string chunk(1 << 20, 'x');
    for (std::size_t i = 0; i < chunk.size(); i += 64)
        chunk[i] = '\n';
    out << "<text>";
    for (std::size_t i = 0; i < mebibytes; ++i)
        out << chunk;
    out << "</text>";
}

// Each side's peak growth, from a process of its own: the stream engine's at three sizes, which
// must all stay within 1 MiB, and over one long text.
bool PrintPeaks(const char* program) {
    constexpr double kMostGrowth = 1.0; // MiB
    const auto scratch = ScratchDirectory("classxml-stream");
    const std::string file = (scratch / "records.xml").string();
    const std::string output = (scratch / "peak.txt").string();
    const auto peak = [&](const std::string& side, std::size_t count) {
        if (side == "read-dom") {
            std::string xml;
            WriteWithHandle(MakeRecords(count), &xml);
            std::ofstream(file, std::ios::binary) << xml;
        }
        if (side == "read-cereal")
            std::ofstream(file, std::ios::binary) << WriteCereal(MakeRecords(count));
        if (side == "next-text") WriteLongText(file, count);
        // read-stream reads what write-stream, run just before it, wrote.
        const std::string command = std::string(program) + " --peak=" + side + " " +
                                    std::to_string(count) + " " + file + " > " + output;
        double growth = -1;
        std::ifstream answer;
        if (std::system(command.c_str()) == 0) answer.open(output);
        answer >> growth;
        return growth;
    };
    std::printf("\npeak heap growth (MiB, a fresh process each)     stream 10,000  stream 100,000"
                "  stream 1,000,000  DOM 100,000  cereal 100,000\n");
    bool within = true;
    for (const char* step : {"write", "read"}) {
        double stream[3];
        std::size_t column = 0;
        for (const std::size_t count : {10'000, 100'000, 1'000'000}) {
            if (std::string(step) == "read") peak("write-stream", count); // the file to read
            stream[column] = peak(std::string(step) + "-stream", count);
            within = within && stream[column] >= 0 && stream[column] <= kMostGrowth;
            ++column;
        }
        const double dom = peak(std::string(step) + "-dom", 100'000);
        const double cereal = peak(std::string(step) + "-cereal", 100'000);
        std::printf("%-6s %41.1f %15.1f %17.1f %12.1f %15.1f\n", step, stream[0], stream[1],
                    stream[2], dom, cereal);
    }
    const double text = peak("next-text", 256);
    within = within && text >= 0 && text <= kMostGrowth;
    std::printf("StreamReader::Next over one text of 256 MiB: %.1f MiB\n", text);
    std::filesystem::remove(file);
    std::printf("stream engine: within %.0f MiB at every size: %s\n", kMostGrowth,
                within ? "ok" : "OVER");
    return within;
}

} // namespace
} // namespace classxml::bench

int main(int argc, char** argv) {
    using namespace classxml::bench;
    CXMLClassReaderWriter::InitXMLEngine(CXMLClassReaderWriter::XMLIOTYPE_XERCES);
    const std::string first = argc > 1 ? argv[1] : "";
    if (argc == 4 && first.starts_with("--peak=")) {
        std::printf("%.1f\n", PeakGrowth(first.substr(7), std::stoul(argv[2]), argv[3]));
        return 0;
    }
    if (argc == 3 && first.starts_with("--side=")) {
        g_recordCount = std::stoul(argv[2]);
        const Side* side = SideNamed(first.substr(7));
        if (!side) return 1;
        side->work(); // the inputs it makes are not counted
        std::printf("%zu\n", MeasuredOnce(*side));
        return 0;
    }
    if (first == "--instructions") {
        if (argc > 2) g_recordCount = std::stoul(argv[2]);
        return CountInstructions(argv[0]);
    }
    const auto& records = Records();
    if (ReadStream(StreamXml()) != records || ReadWithHandle(DomXml()) != records ||
        ReadCereal(CerealXml()) != records || ReadStream(DomXml()) != records ||
        ReadWithSax(StreamXml()) != records || ReadWithStreamReader(StreamXml()) != records ||
        ReadWithStreamEvents(StreamXml()) != records ||
        CountStreamEvents(StreamXml()) != CountWithSax(StreamXml()) ||
        CountStreamEvents(StreamXml(), Reading::Parser) != CountWithSax(StreamXml())) {
        std::fprintf(stderr, "the sides do not do the same work\n");
        return 1;
    }
    std::printf("documents: stream %zu bytes (%zu indented), DOM %zu bytes, cereal %zu bytes\n",
                StreamXml().size(), WriteStream(Records(), true).size(), DomXml().size(),
                CerealXml().size());
    for (const Side& side : Sides())
        Register(side.name, side.work, side.iterations, side.repetitions);
    std::vector<Ratio> ratios;
    for (Ratio target : kTargets) {
        target.limit *= kTimedNoise;
        ratios.push_back(target);
    }
    const std::vector<Ratio> others = {
        {"events, scanner / parser (the engine before)", "events/scanner", "events/parser", 0},
        {"events, scanner / empty SAX2, whole", "events/scanner", "events/sax-whole", 0},
        {"events, scanner / plain read of the bytes", "events/scanner", "bytes/plain", 0},
        {"read, ObjectReader / SAX2 by hand", "read/stream", "read/sax", 1.15},
        {"read 10,000, ObjectReader / SAX2 by hand", "read/stream-10k", "read/sax-10k", 1.15},
        {"typed reads / events and from_chars", "read/typed", "read/events", 1.15},
        {"SAX2 by hand / cereal", "read/sax", "read/cereal", 0},
        {"write, stream / DOM", "write/stream", "write/dom", 0},
        {"write, indented / compact", "write/stream-indented", "write/stream", 0},
        {"read, stream / DOM", "read/stream", "read/dom", 0}};
    ratios.insert(ratios.end(), others.begin(), others.end());
    const double bytes = double(StreamXml().size());
    const int result = RunAndCompare(argc, argv, ratios,
                                     {{"scanner, empty event loop", "events/scanner", bytes},
                                      {"parser, empty event loop", "events/parser", bytes},
                                      {"Xerces SAX2, empty handler", "events/sax", bytes},
                                      {"plain read of the bytes", "bytes/plain", bytes}});
    const bool peaks = PrintPeaks(argv[0]);
    CXMLClassReaderWriter::UninitXMLEngine(CXMLClassReaderWriter::XMLIOTYPE_XERCES);
    return result != 0 || !peaks ? 1 : 0;
}
