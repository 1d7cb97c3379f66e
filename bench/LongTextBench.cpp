// The memory the stream engine takes for a document that is one long text (a file carried as a
// property): validating it holds none of the text, loading it into a std::string member holds
// it about once. Each side runs in a fresh process of its own, from a file and from standard
// input through a pipe, whose length nobody knows in advance.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "BenchmarkRatios.h"
#include "PlainFiles.h"
#include "classxml/archive/Archive.h"
#include "classxml/platform/ProcessMemory.h"
#include "classxml/stream/StreamReader.h"

namespace {

constexpr std::size_t kTextBytes = std::size_t(256) << 20;

struct Attachment {
    std::string text;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(text));
    }
};

struct Dropped : classxml::TextPieces {
    void Take(CBasicStringView<WideChar>) override {}
};

// One side, once: how far it raised the peak resident memory, in MiB; -1 when it failed.
double PeakGrowth(const std::string& side, const std::string& file) {
    const double before = double(classxml::platform::PeakResidentBytes());
    if (side.starts_with("validate")) {
        classxml::StreamReader reader;
        if (side == "validate-file")
            reader.OpenFile(classxml::bench::Wide(file));
        else
            reader.OpenStandardInput();
        Dropped dropped;
        reader.SetTextPieces(&dropped);
        classxml::StreamReader::Event event;
        while ((event = reader.Next()) != classxml::StreamReader::Event::End &&
               event != classxml::StreamReader::Event::Error) {
        }
        if (event != classxml::StreamReader::Event::End) return -1;
    } else {
        Attachment loaded;
        const std::string path = side == "load-file" ? file : "/dev/stdin";
        if (!classxml::LoadFromFile(path, loaded, classxml::Engine::Stream) ||
            loaded.text.size() != kTextBytes)
            return -1;
    }
    return (double(classxml::platform::PeakResidentBytes()) - before) / (1 << 20);
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 3 && std::string(argv[1]).starts_with("--peak=")) {
        std::printf("%.1f\n", PeakGrowth(std::string(argv[1]).substr(7), argv[2]));
        return 0;
    }
    const auto scratch = classxml::bench::ScratchDirectory("classxml-long-text");
    const std::string file = (scratch / "attachment.xml").string();
    const std::string output = (scratch / "peak.txt").string();
    {
        std::ofstream out(file, std::ios::binary);
        out << "<Attachment><text keytype=\"CUTF8String\">";
        const std::string block(1 << 20, 'x');
        for (std::size_t written = 0; written < kTextBytes; written += block.size())
            out << block;
        out << "</text></Attachment>";
    }
    const auto peak = [&](const std::string& side, bool pipe) {
        const std::string command = (pipe ? "cat " + file + " | " : std::string()) + argv[0] +
                                    " --peak=" + side + " " + file + " > " + output;
        double growth = -1;
        std::ifstream answer;
        if (std::system(command.c_str()) == 0) answer.open(output);
        answer >> growth;
        return growth;
    };
    const double text = double(kTextBytes >> 20);
    std::printf("a document of one %.0f MiB text, stream engine, peak growth of a fresh process\n",
                text);
    std::printf("%-44s %10s %10s\n", "", "MiB", "limit");
    bool within = true;
    const auto line = [&](const char* label, double growth, double limit) {
        const bool ok = growth >= 0 && growth <= limit;
        within = within && ok;
        std::printf("%-44s %10.1f %10.1f %s\n", label, growth, limit, ok ? "ok" : "OVER");
    };
    line("validate, from the file", peak("validate-file", false), 16);
    line("validate, from standard input (a pipe)", peak("validate-stdin", true), 16);
    line("load into a std::string, from the file", peak("load-file", false), 1.1 * text);
    line("load into a std::string, from a pipe", peak("load-stdin", true), 1.1 * text);
    return within ? 0 : 1;
}
