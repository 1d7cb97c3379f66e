#include <cstdio>
#include <map>
#include <optional>
#include <unordered_map>

#include "Commands.h"
#include "classxml/compat/Expectation.h"
#include "classxml/platform/FileIO.h"
#include "classxml/platform/Utf.h"
#include "classxml/xmlio/ReadSettings.h"

namespace classxml::tool {

CBasicString<WideChar> Wide(const std::filesystem::path& path) {
    return platform::Utf8ToUtf16(path.u8string());
}

std::string Narrow(CBasicStringView<WideChar> text) { return platform::WideToNarrow(text); }

int Fail(const std::string& name, const std::string& message) {
    std::fprintf(stderr, "classxml: %s: %s\n", name.c_str(), message.c_str());
    return 1;
}

std::string Unreadable(const std::filesystem::path& path) {
    int error = 0;
    const int descriptor = platform::OpenForReading(Wide(path), error);
    if (descriptor < 0) return platform::ErrorText(error);
    platform::CloseFile(descriptor);
    return {};
}

std::set<std::filesystem::path> SideFiles(const std::filesystem::path& directory) {
    std::set<std::filesystem::path> files;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(directory, error))
        if (entry.path().extension() == ".base64") files.insert(entry.path());
    return files;
}

void Report::Fail(const std::string& name, const std::string& message) {
    err += "classxml: " + name + ": " + message + "\n";
    status = 1;
}

void Report::Print() const {
    std::fwrite(out.data(), 1, out.size(), stdout);
    std::fflush(stdout);
    std::fwrite(err.data(), 1, err.size(), stderr);
}

namespace {

// Character data nobody asked for.
struct Dropped : TextPieces {
    void Take(CBasicStringView<WideChar>) override {}
};

// Why a document that was opened was not accepted, from the parse's diagnostics.
int Verdict(const Input& input, Report& report) {
    bool invalid = false;
    for (const Diagnostic& diagnostic : LastDiagnostics()) {
        if (diagnostic.message.starts_with("refused")) {
            report.Fail(input.Name(), diagnostic.message);
            return 1;
        }
        if (diagnostic.message.starts_with("unable to open DTD document")) {
            report.Fail(input.Name(),
                        "the DTD it names could not be found (" + diagnostic.message + ")");
            return 3;
        }
        if (diagnostic.severity == Diagnostic::Severity::FatalError) {
            std::error_code error;
            if (!input.standardInput && std::filesystem::is_regular_file(input.path, error) &&
                std::filesystem::file_size(input.path, error) == 0) {
                report.Fail(input.Name(), "the file is empty");
            } else {
                report.Fail(input.Name(), "not a well-formed class-XML document");
            }
            return 1;
        }
        invalid = invalid || diagnostic.severity == Diagnostic::Severity::Error;
    }
    report.Fail(input.Name(), invalid ? "not valid against its DTD" : "could not be read");
    return invalid ? 3 : 1;
}

// The open elements and their children so far, a run of one name at a time: what explains a
// content model error. The parser reports one at the end tag of the element whose children broke
// its model, and goes on; the error is among the diagnostics when that end tag comes through.
class OpenElements {
    using View = CBasicStringView<WideChar>;

public:
    // Names are kept as small numbers, so that following the document costs a look-up a tag.
    void Visit(const StreamReader& reader, StreamReader::Event event) {
        if (event == StreamReader::Event::EndElement && !m_open.empty()) {
            ExplainNewDiagnostics();
            return m_open.pop_back();
        }
        if (event != StreamReader::Event::StartElement) return;
        const View name = reader.Name();
        auto* runs = m_open.empty() ? nullptr : &m_open.back().children;
        // A sibling of the same name as the one before, the common case, is a comparison.
        if (runs && !runs->empty() && View(m_wide[runs->back().first]) == name) {
            ++runs->back().second;
            return m_open.push_back({runs->back().first, {}});
        }
        const std::size_t id = IdOf(name);
        if (runs) runs->emplace_back(id, 1);
        m_open.push_back({id, {}});
    }

    // The diagnostics' lines, each content model error with what its model expected below the
    // parser's message.
    std::string Text() {
        ExplainNewDiagnostics(); // an error that stopped the reading at an open element
        std::string text;
        const std::vector<Diagnostic>& diagnostics = LastDiagnostics();
        for (std::size_t i = 0; i < diagnostics.size(); ++i) {
            std::string lines = DiagnosticLines(diagnostics[i]);
            if (const auto explained = m_explained.find(i); explained != m_explained.end()) {
                const std::size_t message = lines.find("\n   Message: ");
                const std::size_t after = lines.find('\n', message + 1);
                lines.insert(after == std::string::npos ? lines.size() : after + 1,
                             "   " + explained->second + "\n");
            }
            text += lines;
        }
        return text;
    }

private:
    // The number of a name, given to it when it is first met.
    std::size_t IdOf(View name) {
        const auto known = m_ids.find(name);
        if (known != m_ids.end()) return known->second;
        m_ids.emplace(CBasicString<WideChar>(name), m_names.size());
        m_wide.emplace_back(name);
        m_names.emplace_back();
        platform::AppendUtf16ToUtf8(name, m_names.back());
        return m_names.size() - 1;
    }

    // Explains the content model errors recorded since the last look that the innermost
    // element's children account for; one they do not (an element further on, reached by a
    // parser that reads ahead) waits for its own end tag.
    void ExplainNewDiagnostics() {
        const std::vector<Diagnostic>& diagnostics = LastDiagnostics();
        std::size_t waiting = diagnostics.size();
        for (std::size_t i = m_seen; i < diagnostics.size() && !m_open.empty(); ++i) {
            if (m_explained.count(i)) continue;
            const auto model = ModelOf(diagnostics[i].message);
            if (!model) continue;
            compat::ChildRuns children;
            for (const auto& [child, count] : m_open.back().children)
                children.emplace_back(m_names[child], count);
            std::string line = compat::Expectation(m_names[m_open.back().name], *model, children);
            if (!line.empty())
                m_explained.emplace(i, std::move(line));
            else
                waiting = std::min(waiting, i);
        }
        m_seen = waiting;
    }
    // The model a content model error quotes.
    static std::optional<dtd_declarations::Particle> ModelOf(const std::string& message) {
        constexpr std::string_view kModel = "content model '";
        const std::size_t start = message.find(kModel);
        if (start == std::string::npos || !message.ends_with('\'')) return std::nullopt;
        return compat::ParseModel(std::string_view(message).substr(
            start + kModel.size(), message.size() - start - kModel.size() - 1));
    }

    struct Hash {
        using is_transparent = void;
        std::size_t operator()(View name) const { return std::hash<View>()(name); }
    };
    struct Open {
        std::size_t name;
        std::vector<std::pair<std::size_t, std::size_t>> children; // runs: a name, how many
    };
    std::unordered_map<CBasicString<WideChar>, std::size_t, Hash, std::equal_to<>> m_ids;
    std::vector<CBasicString<WideChar>> m_wide; // the names by number
    std::vector<std::string> m_names;           // the same in UTF-8
    std::vector<Open> m_open;
    std::map<std::size_t, std::string> m_explained; // by the diagnostic's place in the list
    std::size_t m_seen = 0;
};

} // namespace

void ReadDocument(const Input& input, const DtdChoice& dtd, const Visit& visit, Report& report,
                  TextPieces* text) {
    // The parser's lines are collected and written with the report, each with its source line.
    const read_settings::Scope settings(Wide(dtd.DirectoryFor(input)), true);
    StreamReader reader;
    if (dtd.dtdFile) reader.ValidateAgainst(Wide(*dtd.dtdFile));
    if (input.standardInput)
        reader.OpenStandardInput();
    else
        reader.OpenFile(Wide(input.path));
    if (reader.OpenError() != 0)
        return report.Fail(input.Name(), platform::ErrorText(reader.OpenError()));
    Dropped dropped;
    reader.SetTextPieces(text ? text : &dropped);
    OpenElements open;
    StreamReader::Event event;
    while ((event = reader.Next()) != StreamReader::Event::End &&
           event != StreamReader::Event::Error) {
        open.Visit(reader, event);
        visit(reader, event);
    }
    if (event == StreamReader::Event::End) return;
    report.err += open.Text();
    report.status = Verdict(input, report);
}

} // namespace classxml::tool
