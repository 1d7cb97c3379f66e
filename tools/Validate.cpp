// classxml validate: parses a file with DTD validation.
#include <cstdio>

#include "Commands.h"

namespace classxml::tool {

int Validate(const Input& input, const std::filesystem::path& dtdDirectory) {
    std::string docType;
    const int verdict = ReadDocument(input, dtdDirectory, [&](const StreamReader& reader, auto) {
        if (docType.empty()) docType = Narrow(reader.DocTypeName());
    });
    if (verdict != 0) return verdict;
    if (docType.empty()) {
        std::printf("%s is well-formed; it names no DTD, so nothing was validated\n",
                    input.Name().c_str());
    } else {
        std::printf("%s is valid (%s, DTD from %s)\n", input.Name().c_str(), docType.c_str(),
                    dtdDirectory.string().c_str());
    }
    return 0;
}

} // namespace classxml::tool
