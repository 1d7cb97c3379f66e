#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

// The bytes of a document as the scanner reads them: UTF-8, in a window that slides along the
// document, so that a document of any size takes the memory of the window (and of its longest
// token). UTF-16 documents are converted into the window as they are read; a surrogate that is
// not one of a pair comes as the three-byte form of its code unit (ED A0 80 to ED BF BF), which
// the scanner then finds where the parser would.
//
// Bytes of a UTF-8 document are checked as they are read, well ahead of the scanner: the window
// is filled at least kLookahead bytes beyond the last byte the scanner may take, so that an
// ill-formed sequence is known long before the scanner has delivered anything near it. The
// parser decodes a document a block of up to 16 Ki characters at a time and fails on the whole
// block that holds such a sequence, before the events of its start; the scanner then stops that
// far ahead and hands the document to the parser (see StreamReader).
namespace classxml::scanner {

// Where a document's bytes come from.
class ByteSource {
public:
    virtual ~ByteSource() = default;
    // Up to `capacity` more bytes into `into`: how many; 0 at the end.
    virtual std::size_t Read(unsigned char* into, std::size_t capacity) = 0;
    // The whole document, where it is in memory already (then read in place); else empty.
    virtual std::string_view Whole() const { return {}; }
};

enum class Encoding { Utf8, Utf16Little, Utf16Big };

// A line and a column as the parser counts them: lines from 1, ended by a line feed, a carriage
// return or both; columns from 1 in UTF-16 code units.
struct Place {
    std::uint64_t line = 1;
    std::uint64_t column = 1;
};

class Input {
public:
    // How far ahead of the scanner bytes are checked (see above): more than the block the
    // parser decodes at once (up to 48 KiB) and the longest string it may look ahead for (a name
    // of up to 16 Ki units) together.
    static constexpr std::size_t kLookahead = 128 * 1024;
    // How much is read at once: the window first ends kLookahead short of two blocks.
    static constexpr std::size_t kBlock = 128 * 1024;

    // `skip`: the bytes of a byte-order mark, which count for nothing.
    Input(ByteSource& source, Encoding encoding, std::size_t skip);

    // The window: [Data(), Data() + End()) may be scanned.
    const unsigned char* Data() const { return m_data; }
    std::size_t End() const { return m_scanEnd; }

    // Makes more of the document scannable, keeping the window from `keep` on (offsets before it
    // may be dropped, and every offset moves down by what was): how far the window moved down.
    // Afterwards End() is larger, unless the document has ended (AtEnd) or its bytes are
    // ill-formed from some point on (Broken).
    std::size_t Refill(std::size_t keep);
    bool AtEnd() const { return m_sourceEnded && m_scanEnd == m_checkedEnd && !Broken(); }
    // The bytes are ill-formed UTF-8 at BrokenAt() (a document offset); the window ends well
    // before it.
    bool Broken() const { return m_broken; }
    std::uint64_t BrokenAt() const { return m_brokenAt; }

    // The document offset of a window offset, and the line and column at a window offset.
    std::uint64_t OffsetOf(std::size_t at) const { return m_dropped + at; }
    Place PlaceOf(std::size_t at) const;
    // The character at a window offset counts no column, as the parser reads it there.
    void CountNoColumn(std::size_t at) { m_noColumn.push_back(OffsetOf(at)); }
    // The line end at a window offset counts as a character on its line, as the parser takes
    // it when it matches "<?xml" and one white space character at once.
    void LineEndAsCharacter(std::size_t at) { m_plainLineEnds.push_back(OffsetOf(at)); }

private:
    void ReadMore();
    std::size_t CheckUtf8(std::size_t from, std::size_t to);
    void ConvertUtf16(const unsigned char* bytes, std::size_t count);
    void Drop(std::size_t count);

    // The characters in [from, to) of the window that count a column.
    std::uint64_t ColumnsIn(std::size_t from, std::size_t to) const;

    ByteSource& m_source;
    std::vector<std::uint64_t> m_noColumn; // document offsets, ascending, on the window's lines
    std::vector<std::uint64_t> m_plainLineEnds; // document offsets, ascending, in the window
    Encoding m_encoding;
    std::size_t m_skip;
    std::vector<unsigned char> m_window;
    // The window's bytes: m_window's, or the document itself where it is in memory as UTF-8,
    // read in place and never moved.
    unsigned char* m_data = nullptr;
    bool m_inPlace = false;
    std::size_t m_read = 0;       // bytes in the window (UTF-8)
    std::size_t m_checkedEnd = 0; // the well-formed ones among them
    std::size_t m_scanEnd = 0;    // those the scanner may take
    bool m_sourceEnded = false;
    bool m_broken = false;
    std::uint64_t m_brokenAt = 0;
    // Of the bytes dropped from the window: how many, the lines they end, and the UTF-16 units
    // of the line they leave open (a carriage return last among them waits for its line feed).
    std::uint64_t m_dropped = 0;
    std::uint64_t m_droppedLines = 0;
    std::uint64_t m_droppedColumnUnits = 0;
    bool m_droppedEndsWithCarriageReturn = false;
    // UTF-16 bytes read but not yet converted (half a unit, or a high surrogate waiting for its
    // pair).
    std::vector<unsigned char> m_pending;
};

} // namespace classxml::scanner
