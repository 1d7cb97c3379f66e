#pragma once

#include <cstddef>
#include <optional>

#include "classxml/scanner/Input.h"

namespace classxml::scanner {

// How the scanner reads a document: its encoding, and the bytes before its first markup that
// the scanner passes over (a byte-order mark, and an XML declaration found to be one the
// parser accepts as it is).
struct Route {
    Encoding encoding = Encoding::Utf8;
    std::size_t byteOrderMark = 0;
    std::size_t declaration = 0; // bytes after the mark, in the document's encoding
};

// Whether the scanner reads a document, from its first bytes (all of it when `complete`): it
// does when it is UTF-8 or UTF-16, declares no other encoding and no version but 1.0, and
// nothing but comments, processing instructions and white space stand between its declaration
// and the start tag of its root, within the bytes given. Any other document (one with a
// DOCTYPE above all) is the parser's. A document whose encoding is `forced` (text in memory) is
// read in it whatever it declares.
std::optional<Route> RouteOf(const unsigned char* head, std::size_t size,
                             std::optional<Encoding> forced = std::nullopt);

} // namespace classxml::scanner
