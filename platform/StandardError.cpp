#include "classxml/platform/StandardError.h"

#include <iostream>

namespace classxml::platform {

void WriteLineToStandardError(std::string_view text) { std::cerr << text << std::endl; }

} // namespace classxml::platform
