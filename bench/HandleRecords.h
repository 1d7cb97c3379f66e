#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Records.h"

// The records written and read by hand through the handle's typed members, and the same work
// done with Xerces directly: the two sides of the end-to-end comparison, and the baseline the
// archive is measured against.
class CXMLClassReaderWriter;

namespace classxml::bench {

// One record's members, added to its class element and read back from it in order.
void AddRecordMembers(CXMLClassReaderWriter& element, const Record& record);
void GetRecordMembers(CXMLClassReaderWriter& element, Record& record);
// Saves the handle's document into a UTF-8 buffer and releases it; returns the length and,
// when asked, the text.
std::size_t SaveAndRelease(CXMLClassReaderWriter& root, std::string* text = nullptr);

// Builds the document and saves it into a UTF-8 buffer; returns the buffer's length and, when
// asked, its text.
std::size_t WriteWithHandle(const std::vector<Record>& records, std::string* text = nullptr);
std::vector<Record> ReadWithHandle(std::string_view xml);

// The same document built with the DOM and saved by the load-and-save serialiser with the
// library's settings; read with the load-and-save parser with its settings and walked.
std::size_t WriteWithXerces(const std::vector<Record>& records, std::string* text = nullptr);
std::vector<Record> ReadWithXerces(std::string_view xml);

} // namespace classxml::bench
