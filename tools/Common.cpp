#include <cstdio>
#include <fstream>

#include "Commands.h"
#include "platform/Utf.h"

namespace classxml::tool {

CBasicString<WideChar> Wide(const std::filesystem::path& path) {
    return platform::Utf8ToUtf16(path.u8string());
}

std::string Narrow(CBasicStringView<WideChar> text) { return platform::WideToNarrow(text); }

int Fail(const std::filesystem::path& file, const std::string& message) {
    std::fprintf(stderr, "classxml: %s: %s\n", file.string().c_str(), message.c_str());
    return 1;
}

std::set<std::filesystem::path> SideFiles(const std::filesystem::path& directory) {
    std::set<std::filesystem::path> files;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(directory, error))
        if (entry.path().extension() == ".base64") files.insert(entry.path());
    return files;
}

int ReadDocument(const std::filesystem::path& file, const std::filesystem::path& dtdDirectory,
                 const Visit& visit) {
    if (!CheckReadable(file)) return 1;
    CXMLClassReaderWriter::SetDtdDirectory(Wide(dtdDirectory),
                                           CXMLClassReaderWriter::XMLIOTYPE_XERCES);
    StreamReader reader;
    reader.OpenFile(Wide(file)); // the parser's own lines go to stderr
    StreamReader::Event event;
    while ((event = reader.Next()) != StreamReader::Event::End &&
           event != StreamReader::Event::Error)
        visit(reader, event);
    if (event == StreamReader::Event::End) return 0;
    bool invalid = false;
    for (const Diagnostic& diagnostic : LastDiagnostics()) {
        if (diagnostic.message.starts_with("refused")) return Fail(file, diagnostic.message);
        if (diagnostic.severity == Diagnostic::Severity::FatalError)
            return Fail(file, "not a well-formed class-XML document");
        invalid = invalid || diagnostic.severity == Diagnostic::Severity::Error;
    }
    if (!invalid) return Fail(file, "could not be read");
    Fail(file, "not valid against its DTD");
    return 3;
}

bool CheckReadable(const std::filesystem::path& file) {
    std::error_code error;
    if (!std::filesystem::exists(file, error)) return Fail(file, "no such file"), false;
    if (!std::filesystem::is_regular_file(file, error)) return Fail(file, "not a file"), false;
    if (!std::ifstream(file, std::ios::binary)) return Fail(file, "cannot be opened"), false;
    if (std::filesystem::file_size(file, error) == 0) return Fail(file, "the file is empty"), false;
    return true;
}

} // namespace classxml::tool
