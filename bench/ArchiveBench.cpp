// The archive over the handle, against the same document written and read with hand-written
// handle calls, on 10,000 records of an int, a double, a short string, a bool, a vector of 8
// ints and a map of 4 strings to ints: write is build and save into a UTF-8 string, read is
// parse and walk back into records.
//
// Then object graphs on the stream engine: a chain of 1,000,000 links through unique_ptr (which
// nests past the parser's limit, so most links are deferred) against the same links side by
// side in a vector, per link; and a 100 MB binary member saved to and loaded from a file. Each
// with the peak growth of the heap.
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "BenchmarkRatios.h"
#include "HandleRecords.h"
#include "HeapCount.h"
#include "RecordArchive.h"

namespace classxml::bench {

struct Records {
    std::vector<Record> records;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(records));
    }
};

// A link of a chain, let go of one at a time.
struct Link {
    int value = 0;
    std::unique_ptr<Link> next;
    Link() = default;
    Link(Link&&) = default;
    Link& operator=(Link&&) = default;
    ~Link() {
        while (next)
            next = std::move(next->next);
    }
    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(value), CLASSXML_NVP(next));
    }
};
struct Chain {
    Link head;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(head));
    }
};
struct Flat {
    std::vector<Link> links;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(links));
    }
};
struct Binary {
    std::vector<std::byte> bytes;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(bytes));
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

constexpr int kLinks = 1'000'000;
constexpr std::size_t kBinaryBytes = std::size_t(100) << 20;
Chain g_chain;
Flat g_flat;
std::string g_chainXml, g_flatXml;

void Build() {
    Link* link = &g_chain.head;
    for (int i = 1; i < kLinks; ++i) {
        link->next = std::make_unique<Link>();
        link = link->next.get();
        link->value = i;
    }
    g_flat.links.resize(kLinks);
    for (int i = 0; i < kLinks; ++i)
        g_flat.links[i].value = i;
}

template <class Graph>
std::size_t Write(const Graph& graph) {
    std::string xml;
    return classxml::SaveToString(xml, graph) ? xml.size() : 0;
}
template <class Graph>
std::size_t Read(const std::string& xml) {
    Graph graph;
    return classxml::LoadFromString(xml, graph) ? 1 : 0;
}

// How far `work` raises the heap at its peak, in MiB.
template <class Work>
double PeakGrowth(const Work& work) {
    heap::RestartPeak();
    const double before = double(heap::Live());
    if (!work()) return -1;
    return (double(heap::Peak()) - before) / (1 << 20);
}

// The peaks of the graphs, and the binary member's round trip through a file.
bool PrintGraphPeaks() {
    const double chainWrite = PeakGrowth([] { return Write(g_chain); });
    const double flatWrite = PeakGrowth([] { return Write(g_flat); });
    const double chainRead = PeakGrowth([] { return Read<Chain>(g_chainXml); });
    const double flatRead = PeakGrowth([] { return Read<Flat>(g_flatXml); });
    std::printf("\npeak heap growth (MiB)    chain of %d  vector of as many\n", kLinks);
    std::printf("  save to a string        %10.1f  %10.1f\n", chainWrite, flatWrite);
    std::printf("  load from a string      %10.1f  %10.1f\n", chainRead, flatRead);
    const std::string file = (ScratchDirectory("classxml-archive") / "binary.xml").string();
    Binary binary;
    binary.bytes.resize(kBinaryBytes);
    for (std::size_t i = 0; i < kBinaryBytes; ++i)
        binary.bytes[i] = std::byte(i * 7);
    const double binaryWrite = PeakGrowth([&] { return bool(classxml::SaveToFile(file, binary)); });
    binary = Binary();
    const double binaryRead =
        PeakGrowth([&] { return bool(classxml::LoadFromFile(file, binary)); });
    const bool same =
        binary.bytes.size() == kBinaryBytes && binary.bytes[12345] == std::byte(12345 * 7);
    std::printf(
        "  100 MB binary member    save %.1f, load %.1f (%.3fx its size, the vector included)\n",
        binaryWrite, binaryRead, binaryRead * (1 << 20) / double(kBinaryBytes));
    std::filesystem::remove(file);
    return same && chainWrite >= 0 && chainRead >= 0 && binaryWrite >= 0 &&
           binaryRead * (1 << 20) <= 1.1 * double(kBinaryBytes);
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
    Build();
    g_chainXml.clear();
    g_flatXml.clear();
    if (!classxml::SaveToString(g_chainXml, g_chain) ||
        !classxml::SaveToString(g_flatXml, g_flat) || !Read<Chain>(g_chainXml) ||
        !PrintGraphPeaks()) {
        std::fprintf(stderr, "the graphs do not round-trip within their memory\n");
        return 1;
    }
    Register(
        "write/chain", [] { return Write(g_chain); }, 1, 3);
    Register(
        "write/vector", [] { return Write(g_flat); }, 1, 3);
    Register(
        "read/chain", [] { return Read<Chain>(g_chainXml); }, 1, 3);
    Register(
        "read/vector", [] { return Read<Flat>(g_flatXml); }, 1, 3);
    Register("write/archive", WriteArchive, 1, 9);
    Register("write/handle", WriteHand, 1, 9);
    Register("read/archive", ReadArchive, 1, 9);
    Register("read/handle", ReadHand, 1, 9);
    return RunAndCompare(
        argc, argv,
        {{"write 10,000 records, build and save", "write/archive", "write/handle", 1.1},
         {"read 10,000 records, parse and walk", "read/archive", "read/handle", 1.1},
         {"save a chain of 1,000,000 links, per link against a vector's", "write/chain",
          "write/vector", 1.5},
         {"load a chain of 1,000,000 links, per link against a vector's", "read/chain",
          "read/vector", 1.5}});
}
