#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <xercesc/framework/LocalFileInputSource.hpp>

#include "classxml/BasicString.h"
#include "classxml/xmlio/DoctypeOverride.h"
#include "classxml/xmlio/ParseLimits.h"

namespace classxml::document_input {

// The bytes of one document for a parser, from one descriptor opened once: a file by its path,
// or standard input. Whatever the descriptor stands for (a regular file, a FIFO, a pipe) it is
// read as a stream, start to end, so that nothing is read twice and a file replaced while it
// is read is read whole as it was when it was opened. Each byte read lets the parse's limits
// grow (ParseLimits.h). The first bytes can be looked at before the parse starts; the parser
// reads them again from memory.
//
// A path that cannot be opened is opened only once: the parser is given no stream and reports
// it as it reports every document it cannot open; `OpenError` says why.
class Source : public xercesc::LocalFileInputSource {
public:
    // The file at `path`; the system id, as the parser names the file in its messages, is the
    // full path as Xerces makes it.
    Source(const CBasicString<WideChar>& path, parse_limits::Budget& budget,
           xercesc::MemoryManager* memory);
    // Standard input, named "standard input".
    Source(parse_limits::Budget& budget, xercesc::MemoryManager* memory);
    ~Source() override;
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;

    // 0, or the error number of the failed open.
    int OpenError() const { return m_openError; }
    // Up to the first `count` bytes of the document, read now if they have not been.
    const std::vector<unsigned char>& Head(std::size_t count);

    // Makes the document name the DTD `systemId` in place of its own (DoctypeOverride.h), reading
    // as much of it as that takes, up to 1 MiB; false when that is not possible.
    bool NameDtd(std::string_view systemId);
    // Where that changed the length of a line: for putting the parser's places back on the file.
    const std::vector<doctype_override::Edit>& Edits() const { return m_edits; }

    xercesc::BinInputStream* makeStream() const override;

    // The bytes in order, for a reader other than the parser: up to `capacity` into `into`;
    // 0 at the end.
    std::size_t ReadNext(unsigned char* into, std::size_t capacity);
    // The same document read again from its start, by the parser: for a regular file only (the
    // same open file, whatever has happened to its path since), which then belongs to the new
    // source; null for anything else.
    std::unique_ptr<Source> Restarted(parse_limits::Budget& budget, xercesc::MemoryManager* memory);

private:
    class Stream;

    int m_descriptor = -1;
    int m_openError = 0;
    bool m_ownsDescriptor = true;
    parse_limits::Budget& m_budget;
    std::vector<unsigned char> m_head; // read ahead, given to the parser first
    std::vector<doctype_override::Edit> m_edits;
    bool m_ended = false;         // the head reached the end of the input
    std::uint64_t m_readNext = 0; // how far ReadNext has read
    bool m_fromStart = false;     // read by offset from the start (a restarted source)
};

// The text of an open error for people: "cannot open "<path>": no such file".
std::string OpenErrorText(CBasicStringView<WideChar> path, int error);

// The error number with which the last file parse on this thread failed to open its file, 0
// when it opened it (or read from memory).
int LastOpenError();
void SetLastOpenError(int error);

} // namespace classxml::document_input
