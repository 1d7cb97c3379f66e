// classxml validate: parses a file with DTD validation.
#include <cstdio>

#include "Commands.h"
#include "basicio/VFile.h"

namespace classxml::tool {

int Validate(const std::filesystem::path& file, const std::filesystem::path& dtdDirectory) {
    const int verdict = ReadDocument(file, dtdDirectory, [](const StreamReader&, auto) {});
    if (verdict != 0) return verdict;

    CBasicString<WideChar> doctype;
    CVFile text;
    text.Open(Wide(file), CVFile::kReadExisting);
    if (text.GetDocType(doctype).get() < 0) {
        std::printf("%s is well-formed; it names no DTD, so nothing was validated\n",
                    file.string().c_str());
    } else {
        std::printf("%s is valid (%s, DTD from %s)\n", file.string().c_str(),
                    Narrow(doctype).c_str(), dtdDirectory.string().c_str());
    }
    return 0;
}

} // namespace classxml::tool
