#pragma once

#include <string>
#include <string_view>

namespace classxml::archive_detail {

// A compact archive document laid out one element a line, two spaces a level, with a final
// newline: white space goes only between two tags, never into a text, so every value reads
// back as it was. The stream engine writes the same bytes as it goes.
std::string Indented(std::string_view compact);

} // namespace classxml::archive_detail
