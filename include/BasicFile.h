#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "classxml/BasicString.h"
#include "classxml/NamedType.h"
#include "classxml/platform/Export.h"
#include "classxml/platform/FileIO.h"

namespace BasicStringDef {
// The encoding of a narrow text file. The default is the process's narrow code page: UTF-8 on
// POSIX, the ANSI code page on Windows.
enum enum_codepage { codepage_default = 0, codepage_latin1 = 1, codepage_utf8 = 15 };
struct TokenFlag_t {};
} // namespace BasicStringDef

// Kinds of token FindToken accepts.
using TokenFlags = NamedBitWiseType<unsigned int, BasicStringDef::TokenFlag_t>;
namespace BasicStringDef {
inline constexpr TokenFlags token_name{1u};        // letters, digits, '_', ':', '-', '.'
inline constexpr TokenFlags token_quoted{2u};      // text between ' or " quotes
inline constexpr TokenFlags token_punctuation{4u}; // any other single character
} // namespace BasicStringDef

namespace BasicFile {
// The byte order of a UTF-16 file: unknown (taken as little-endian), or from its mark.
enum enum_byteOrder {
    byteorder_unknown = 0,
    byteorder_little_endian = 1,
    byteorder_big_endian = 2
};
enum enum_fileSeek { seek_begin = 0, seek_current = 1, seek_end = 2 };
} // namespace BasicFile

struct FILE_POS_t {};
struct FILE_CHAR_POS_t {};
struct AC_FILE_SIZE_IN_BYTE_t {};
struct AC_FILE_SIZE_IN_CHARACTER_t {};

// Byte and character positions (negative: nothing found) and sizes.
using FILE_POS = NamedType<std::int64_t, FILE_POS_t>;
using FILE_CHAR_POS = NamedType<std::int64_t, FILE_CHAR_POS_t>;
using AC_FILE_SIZE_IN_BYTE = NamedType<std::uint64_t, AC_FILE_SIZE_IN_BYTE_t>;
using AC_FILE_SIZE_IN_CHARACTER = NamedType<std::uint64_t, AC_FILE_SIZE_IN_CHARACTER_t>;

/// One open file read and written through a buffer, in units of Char: bytes of a narrow file in
/// its code page (char), or UTF-16 code units of a file in its byte order (WideChar). A character
/// position p is byte 2p of a UTF-16 file, whose mark is character 0.
///
/// Reads, writes and searches share one buffer of at most the maximum buffer size, so memory is
/// bounded by it whatever the file's size. Failures throw CBasicFileException.
template <class Char>
class CLASSXML_API CBasicFile {
public:
    using CharType = Char; ///< the unit of the file's text
    /// The buffer's size unless SetMaxBufferSize says otherwise.
    static constexpr std::size_t kDefaultBufferSize = std::size_t(1) << 20;

    /// A file not open yet; the destructor flushes and closes (errors are lost there: call Close
    /// to see them).
    ///@{
    CBasicFile();
    ~CBasicFile();
    ///@}
    CBasicFile(const CBasicFile&) = delete;
    CBasicFile& operator=(const CBasicFile&) = delete;

    /// Opens the file at `path`: 0, or the runtime library's error number; nothing is thrown.
    int Open(const CBasicString<WideChar>& path, const classxml::platform::OpenOptions& options,
             BasicStringDef::enum_codepage codePage, BasicFile::enum_byteOrder byteOrder);
    /// Writes what the buffer holds and closes the file.
    void Close();
    /// Whether a file is open.
    bool IsOpen() const { return m_descriptor >= 0; }
    /// Hands the open descriptor over, without closing it, to another CBasicFile's Attach (a
    /// file found to be UTF-16 after it was opened as narrow text). Attach answers as Open.
    ///@{
    int Detach();
    int Attach(int descriptor, const CBasicString<WideChar>& path,
               BasicStringDef::enum_codepage codePage, BasicFile::enum_byteOrder byteOrder);
    ///@}

    /// Bytes at the current position, which they advance; Flush writes what the buffer holds,
    /// Seek and Tell move and tell the position, and the file's length comes in bytes and in
    /// characters.
    ///@{
    std::size_t Read(void* buffer, std::size_t bytes);
    void Write(const void* data, std::size_t bytes);
    void Flush();
    std::int64_t Seek(std::int64_t offset, BasicFile::enum_fileSeek origin);
    std::int64_t Tell() const { return m_position; }
    std::int64_t LengthInBytes() const { return m_length; }
    std::int64_t SizeInCharacters() const { return m_length / std::int64_t(sizeof(Char)); }
    ///@}
    /// Bytes [offset, offset + bytes) into `buffer` without moving the position; fewer only at
    /// the end of the file.
    std::size_t ReadAt(std::int64_t offset, void* buffer, std::size_t bytes);

    /// Characters in the host's order. ReadChars appends [from, to) (clipped to the file) to
    /// `out`; WriteChars writes at the current position in the file's byte order.
    ///@{
    void ReadChars(std::int64_t from, std::int64_t to, CBasicString<Char>& out);
    void WriteChars(CBasicStringView<Char> text);
    ///@}
    /// The character at `position`; false past the end.
    bool CharAt(std::int64_t position, Char& unit);

    /// The first (last) position at or after (at or before) `start` where `text` begins; -1 when
    /// there is none. Without case sensitivity both sides are lower-cased first.
    ///@{
    std::int64_t Find(CBasicStringView<Char> text, bool caseSensitive, std::int64_t start);
    std::int64_t FindReverse(CBasicStringView<Char> text, bool caseSensitive, std::int64_t start);
    ///@}
    /// Blanks are space, carriage return, line feed and tab, nothing else. The first non-blank
    /// position at or after `position` (the end of the file when there is none); the last at or
    /// before it (-1 when there is none).
    ///@{
    std::int64_t GetNextNonBlankPosition(std::int64_t position);
    std::int64_t GetPreviousNonBlankPosition(std::int64_t position);
    ///@}

    /// Cuts or extends the file to `bytes`.
    void SetFileSize(std::int64_t bytes);
    /// The buffer's size for later reads and writes (at least 4 KiB).
    void SetMaxBufferSize(std::size_t bytes);

    /// The encoding of a narrow file, the byte order of a UTF-16 one, and the path it was opened
    /// by.
    ///@{
    BasicStringDef::enum_codepage GetCodePage() const { return m_codePage; }
    BasicFile::enum_byteOrder GetByteOrder() const { return m_byteOrder; }
    const CBasicString<WideChar>& GetPath() const { return m_path; }
    ///@}

private:
    // Characters from `position` in the host's order, at least `minimum` of them unless the file
    // ends sooner; empty at the end. Valid until the next operation on the file.
    CBasicStringView<Char> Window(std::int64_t position, std::size_t minimum);
    bool Swapped() const;
    void AllocateBuffer(const WideChar* operation);
    void Load(std::int64_t offset);
    void WriteBack();
    CBasicString<Char> PrepareSearch(CBasicStringView<Char> text, bool caseSensitive);
    CBasicStringView<Char> Comparable(CBasicStringView<Char> window, bool caseSensitive);
    [[noreturn]] void Fail(int errorNumber, const WideChar* operation) const;

    int m_descriptor = -1;
    CBasicString<WideChar> m_path;
    BasicStringDef::enum_codepage m_codePage = BasicStringDef::codepage_default;
    BasicFile::enum_byteOrder m_byteOrder = BasicFile::byteorder_unknown;
    std::size_t m_maxBufferSize = kDefaultBufferSize;
    // The buffer holds bytes [m_bufferOffset, m_bufferOffset + m_bufferLength) of the file; when
    // m_dirty, they are newer than the file and still to be written.
    std::unique_ptr<char[]> m_buffer;
    std::size_t m_bufferCapacity = 0;
    std::int64_t m_bufferOffset = 0;
    std::size_t m_bufferLength = 0;
    bool m_dirty = false;
    std::int64_t m_position = 0;
    std::int64_t m_length = 0;   // including bytes still in the buffer
    std::vector<Char> m_scratch; // converted or lower-cased copies for searches
};

extern template class CBasicFile<char>;
extern template class CBasicFile<WideChar>;
