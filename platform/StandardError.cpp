#include "classxml/platform/StandardError.h"

#include <cstdio>
#include <iostream>
#include <string>

#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif

namespace classxml::platform {

void WriteLineToStandardError(std::string_view text) { std::cerr << text << std::endl; }

bool StandardErrorIsTerminal() {
#ifdef _WIN32
    return _isatty(_fileno(stderr)) != 0;
#else
    return isatty(STDERR_FILENO) != 0;
#endif
}

// Spaces overwrite what a longer line left, where a terminal may not know the escape that would
// erase it.
void ProgressLine::Show(std::string_view text) {
    std::string line = "\r" + std::string(text);
    if (text.size() < m_shown) line.append(m_shown - text.size(), ' ');
    if (text.empty()) line += '\r';
    m_shown = text.size();
    std::cerr << line << std::flush;
}

} // namespace classxml::platform
