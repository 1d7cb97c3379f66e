#include <cstdio>

#include "Commands.h"
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
    StreamReader::Event event;
    while ((event = reader.Next()) != StreamReader::Event::End &&
           event != StreamReader::Event::Error)
        visit(reader, event);
    if (event == StreamReader::Event::End) return;
    for (const Diagnostic& diagnostic : LastDiagnostics())
        report.err += DiagnosticLines(diagnostic);
    report.status = Verdict(input, report);
}

} // namespace classxml::tool
