#include <cctype>

#include "classxml/archive/TypeText.h"

namespace classxml::archive_detail {

std::string ElementNameOf(std::string_view compilerName) {
    // The last "::" outside template arguments ends the qualification.
    std::size_t start = 0;
    int depth = 0;
    for (std::size_t i = 0; i + 1 < compilerName.size(); ++i) {
        if (compilerName[i] == '<') ++depth;
        if (compilerName[i] == '>') --depth;
        if (depth == 0 && compilerName[i] == ':' && compilerName[i + 1] == ':') start = i + 2;
    }
    std::string name;
    for (const char c : compilerName.substr(start)) {
        if (c == ' ') continue;
        const bool nameCharacter = std::isalnum(static_cast<unsigned char>(c)) || c == '_' ||
                                   c == '.' || c == '-' || static_cast<unsigned char>(c) >= 0x80;
        name += nameCharacter ? c : '_';
    }
    if (name.empty() || !(std::isalpha(static_cast<unsigned char>(name[0])) || name[0] == '_'))
        name.insert(name.begin(), '_');
    return name;
}

} // namespace classxml::archive_detail
