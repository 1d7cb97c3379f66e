#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "Records.h"

// The records read from their document as a performance-minded user writes it by hand: with
// Xerces' SAX2 reader directly (the floor of any reader on Xerces), and with the stream engine's
// reader, through its typed reads or from its events with std::from_chars.
namespace classxml::bench {

// SAX2 with the stream engine's scanner and features, and a handler that knows the records'
// shape; and the same reader with a handler that does nothing. A pull reader must scan
// progressively, a step at a time; a SAX2 application may also have the whole document
// scanned in one call, which is faster still.
enum class Scan { Progressive, Whole };
std::vector<Record> ReadWithSax(std::string_view xml, Scan scan = Scan::Progressive);
std::size_t CountWithSax(std::string_view xml, Scan scan = Scan::Progressive);

// StreamReader: every event pulled and nothing done, read by the engine's own scanner or, as
// before it had one, by the parser; the records through NameUtf8, ReadValue and ReadText; and
// the records from Name, Text and std::from_chars.
enum class Reading { Scanner, Parser };
std::size_t CountStreamEvents(std::string_view xml, Reading reading = Reading::Scanner);
std::vector<Record> ReadWithStreamReader(std::string_view xml);
std::vector<Record> ReadWithStreamEvents(std::string_view xml);

} // namespace classxml::bench
