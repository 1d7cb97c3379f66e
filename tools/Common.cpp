#include <cstdio>

#include "Commands.h"
#include "platform/FileIO.h"
#include "platform/Utf.h"

namespace classxml::tool {

CBasicString<WideChar> Wide(const std::filesystem::path& path) {
    return platform::Utf8ToUtf16(path.u8string());
}

std::string Narrow(CBasicStringView<WideChar> text) { return platform::WideToNarrow(text); }

int Fail(const std::string& name, const std::string& message) {
    std::fprintf(stderr, "classxml: %s: %s\n", name.c_str(), message.c_str());
    return 1;
}

std::set<std::filesystem::path> SideFiles(const std::filesystem::path& directory) {
    std::set<std::filesystem::path> files;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(directory, error))
        if (entry.path().extension() == ".base64") files.insert(entry.path());
    return files;
}

namespace {

// Character data nobody asked for.
struct Dropped : TextPieces {
    void Take(CBasicStringView<WideChar>) override {}
};

// Why a document that was opened was not accepted, from the parse's diagnostics.
int Verdict(const Input& input) {
    bool invalid = false;
    for (const Diagnostic& diagnostic : LastDiagnostics()) {
        if (diagnostic.message.starts_with("refused"))
            return Fail(input.Name(), diagnostic.message);
        if (diagnostic.message.starts_with("unable to open DTD document")) {
            Fail(input.Name(), "the DTD it names could not be found (" + diagnostic.message + ")");
            return 3;
        }
        if (diagnostic.severity == Diagnostic::Severity::FatalError) {
            std::error_code error;
            if (!input.standardInput && std::filesystem::is_regular_file(input.path, error) &&
                std::filesystem::file_size(input.path, error) == 0)
                return Fail(input.Name(), "the file is empty");
            return Fail(input.Name(), "not a well-formed class-XML document");
        }
        invalid = invalid || diagnostic.severity == Diagnostic::Severity::Error;
    }
    if (!invalid) return Fail(input.Name(), "could not be read");
    Fail(input.Name(), "not valid against its DTD");
    return 3;
}

} // namespace

int ReadDocument(const Input& input, const std::filesystem::path& dtdDirectory, const Visit& visit,
                 TextPieces* text) {
    CXMLClassReaderWriter::SetDtdDirectory(Wide(dtdDirectory),
                                           CXMLClassReaderWriter::XMLIOTYPE_XERCES);
    StreamReader reader; // the parser's own lines go to stderr
    if (input.standardInput)
        reader.OpenStandardInput();
    else
        reader.OpenFile(Wide(input.path));
    if (reader.OpenError() != 0) return Fail(input.Name(), platform::ErrorText(reader.OpenError()));
    Dropped dropped;
    reader.SetTextPieces(text ? text : &dropped);
    StreamReader::Event event;
    while ((event = reader.Next()) != StreamReader::Event::End &&
           event != StreamReader::Event::Error)
        visit(reader, event);
    return event == StreamReader::Event::End ? 0 : Verdict(input);
}

} // namespace classxml::tool
