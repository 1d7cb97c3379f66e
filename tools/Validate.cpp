// classxml validate: parses a file with DTD validation.
#include <cstdio>

#include "Commands.h"
#include "XMLClassReaderWriter/XMLClassReaderWriter.h"
#include "basicio/VFile.h"

namespace classxml::tool {

int Validate(const std::filesystem::path& file, const std::filesystem::path& dtdDirectory) {
    if (!CheckReadable(file)) return 1;
    using Handle = CXMLClassReaderWriter;
    Handle::SetDtdDirectory(Wide(dtdDirectory), Handle::XMLIOTYPE_XERCES);
    Handle document(boost::shared_ptr<CLoggingFile>(), Handle::XMLIOTYPE_XERCES, false);
    const bool valid = document.ReadFromFile(Wide(file)); // the parser's lines go to stderr
    document.ReleaseDocument();
    if (!valid) return Fail(file, "not valid");

    CBasicString<WideChar> doctype;
    CVFile text;
    text.Open(Wide(file), CVFile::kReadExisting);
    if (text.GetDocType(doctype).get() < 0) {
        std::printf("%s is well-formed; it names no DTD to validate against\n",
                    file.string().c_str());
    } else {
        std::printf("%s is valid (%s, DTD from %s)\n", file.string().c_str(),
                    Narrow(doctype).c_str(), dtdDirectory.string().c_str());
    }
    return 0;
}

} // namespace classxml::tool
