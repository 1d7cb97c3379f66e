#pragma once

#include <cstdint>
#include <variant>

#include <boost/shared_ptr.hpp>

#include "classxml/BasicFile.h"
#include "classxml/BasicString.h"
#include "classxml/basicio/BasicFileException.h"
#include "classxml/platform/Export.h"
#include "classxml/platform/LocalizationManager.h"

/// A text file opened by path and then read, written, copied and searched in characters,
/// whatever its encoding: a narrow file in a code page, or UTF-16 with a byte-order mark. It
/// holds none or one CBasicFile of the matching width.
///
/// Every operation that needs an open file and has none raises error number 9 ("the handle is
/// invalid."); negative positions, and copy ranges whose end lies before their start, raise 22.
/// Failures are thrown as CBasicFileException, except where Open is given a record to fill.
class CLASSXML_API CVFile {
public:
    using View = CBasicStringView<WideChar>; ///< text as the file layer takes it
    /// Where messages of file errors are looked up.
    using Localization = boost::shared_ptr<LocalizationManager>;

    CVFile();
    virtual ~CVFile(); // closes a file still open
    CVFile(const CVFile&) = delete;
    CVFile& operator=(const CVFile&) = delete;

    /// @addtogroup textfile
    /// @{

    /// The bits of the open-flag word.
    ///@{
    enum OpenFlag : unsigned int {
        kCreate = 0x0001,
        kKeepContent = 0x0002,
        kRead = 0x0004,
        kReadWrite = 0x0008,
        kWrite = 0x0010,
        kNoInherit = 0x0020,
        kShareDenyNone = 0x0040,
        kShareDenyRead = 0x0080,
        kShareDenyWrite = 0x0100,
        kShareExclusive = 0x0200,
        kText = 0x0400,
        kBinary = 0x0800, // also without kText
        kShortLived = 0x1000,
        kTemporary = 0x2000,
        kCreateNew = 0x4000, // fails when the file exists
    };
    ///@}
    /// An existing file read as binary, and a file created (or truncated) for binary writing.
    ///@{
    static constexpr unsigned int kReadExisting = kRead | kBinary;
    static constexpr unsigned int kCreateForWriting = kCreate | kWrite | kBinary;
    ///@}
    /// Without kKeepContent, kRead and kReadWrite the file is truncated. A file opened with a read
    /// bit is UTF-16 when it starts with FF FE or FE FF and narrow otherwise; without a read bit it
    /// is UTF-16 when `wide` is true (a new one gets the mark of `byteOrder`, little-endian by
    /// default). Closes a file still open first. Non-zero on success; on failure the error is
    /// thrown, or stored in `error` with 0 returned.
    ///@{
    virtual int Open(const CBasicString<WideChar>& path, unsigned int flags,
                     CBasicFileException* error = nullptr, bool wide = false,
                     BasicStringDef::enum_codepage codePage = BasicStringDef::codepage_default,
                     BasicFile::enum_byteOrder byteOrder = BasicFile::byteorder_unknown);
    virtual int Open(CBasicString<WideChar>&& path, unsigned int flags,
                     CBasicFileException* error = nullptr, bool wide = false,
                     BasicStringDef::enum_codepage codePage = BasicStringDef::codepage_default,
                     BasicFile::enum_byteOrder byteOrder = BasicFile::byteorder_unknown);
    virtual int Open(const CBasicString<char>& path, unsigned int flags,
                     CBasicFileException* error = nullptr, bool wide = false,
                     BasicStringDef::enum_codepage codePage = BasicStringDef::codepage_default,
                     BasicFile::enum_byteOrder byteOrder = BasicFile::byteorder_unknown);
    virtual int Open(const View& path, unsigned int flags, CBasicFileException* error = nullptr,
                     bool wide = false,
                     BasicStringDef::enum_codepage codePage = BasicStringDef::codepage_default,
                     BasicFile::enum_byteOrder byteOrder = BasicFile::byteorder_unknown);
    virtual int Open(const WideChar* path, unsigned int flags, CBasicFileException* error = nullptr,
                     bool wide = false,
                     BasicStringDef::enum_codepage codePage = BasicStringDef::codepage_default,
                     BasicFile::enum_byteOrder byteOrder = BasicFile::byteorder_unknown);
    ///@}
    /// Writes what is buffered and closes; nothing happens without an open file.
    ///@{
    virtual void Close();
    virtual bool IsOpen() const;
    ///@}
    /// True for a UTF-16 file.
    bool IsWide() const;

    /// @}

    /// @addtogroup textfile
    /// @{

    /// Up to `bytes` raw bytes from the current position; returns how many were read.
    virtual unsigned int Read(void* buffer, unsigned int bytes);
    /// Raw bytes at the current position; returns how many were written.
    virtual std::uint64_t Write(const void* data, const unsigned int bytes) const;
    /// Text converted to the file's encoding; returns the bytes written.
    ///@{
    virtual std::uint64_t Write(CBasicStringView<char> text) const;
    virtual std::uint64_t Write(CBasicStringView<char8_t> text) const;
    virtual std::uint64_t Write(CBasicStringView<WideChar> text) const;
    virtual void Flush();
    virtual FILE_POS Seek(FILE_POS offset, BasicFile::enum_fileSeek origin);
    virtual FILE_POS Tell() const;
    virtual FILE_POS SeekToEnd();
    virtual FILE_POS SeekToBegin();
    virtual FILE_CHAR_POS SeekChars(FILE_CHAR_POS offset, BasicFile::enum_fileSeek origin);
    ///@}

    /// @}

    /// @addtogroup textfile
    /// @{

    /// The file's length in bytes, byte-order mark included.
    virtual AC_FILE_SIZE_IN_BYTE GetLengthInByte() const;
    /// The file's length in characters of its width, without the byte-order mark.
    virtual AC_FILE_SIZE_IN_CHARACTER GetSizeInCharacters() const;
    /// The path it was opened with, and the part after the last '\' or '/'.
    ///@{
    View GetFilePath() const;
    View GetFileName() const;
    BasicStringDef::enum_codepage GetCodePage() const;
    BasicFile::enum_byteOrder GetByteOrder() const;
    void SetFileSize(AC_FILE_SIZE_IN_BYTE size);
    void SetMaxBufferSize(std::size_t bytes);
    ///@}

    /// @}

    /// @addtogroup textfile
    /// @{

    /// Appends the source's characters [from, to) (clipped to its end) to the end of this file,
    /// converting between encodings where the files differ; returns the position after them.
    /// AtEndOfFile is the same. AppendFileBuffer appends the bytes [from, to) unchanged and
    /// returns how many it copied.
    ///@{
    virtual FILE_CHAR_POS AppendFileContent(const CVFile& source, FILE_CHAR_POS from,
                                            FILE_CHAR_POS to);
    virtual FILE_CHAR_POS AppendFileContentAtEndOfFile(const CVFile& source, FILE_CHAR_POS from,
                                                       FILE_CHAR_POS to);
    virtual std::uint64_t AppendFileBuffer(const CVFile& source, std::uint64_t from,
                                           std::uint64_t to);
    ///@}
    /// Appends the source's characters from `from` up to the first `stop` character at or after
    /// it, reading each of them once: copying and searching in one pass. Returns where `stop`
    /// stands, or -1 when the source ends first (all of it appended then).
    FILE_CHAR_POS AppendFileContentUpTo(const CVFile& source, FILE_CHAR_POS from, WideChar stop);

    /// @}

    /// @addtogroup textfile
    /// @{

    /// Characters [from, to) into `out` (emptied first; empty at or past the end): narrow text
    /// in the process code page, UTF-8, or UTF-16. The wide form reads a UTF-16 file from 1 when
    /// asked for 0, so that the byte-order mark is left out. `generalConversion` takes the
    /// general code-page conversion also for UTF-8 files.
    ///@{
    virtual void GetStringFromFile(CBasicString<char>& out, FILE_CHAR_POS from, FILE_CHAR_POS to,
                                   bool generalConversion = false) const;
    virtual void GetStringFromFile(CBasicString<char8_t>& out, FILE_CHAR_POS from, FILE_CHAR_POS to,
                                   bool generalConversion = false) const;
    virtual void GetStringFromFile(CBasicString<WideChar>& out, FILE_CHAR_POS from,
                                   FILE_CHAR_POS to, bool generalConversion = false) const;
    ///@}
    /// The nearest position at or before `position` where a character starts, never inside a
    /// UTF-8 sequence or a surrogate pair: cutting a file there keeps every character whole.
    FILE_CHAR_POS AlignToCharacter(FILE_CHAR_POS position) const;

    /// @}

    /// @addtogroup textfile
    /// @{

    /// The first position at or after `start` where `text` begins, -1 when there is none. A
    /// narrow file is searched for the text in its own code page. Without case sensitivity both
    /// sides are lower-cased first (ASCII letters in narrow files, the simple Unicode mapping in
    /// UTF-16 files). The localisation service is carried along for applications' derived files.
    ///@{
    virtual FILE_CHAR_POS FindStringPositionInFile(CBasicStringView<char> text,
                                                   const Localization& localization,
                                                   bool caseSensitive, FILE_CHAR_POS start);
    virtual FILE_CHAR_POS FindStringPositionInFile(CBasicStringView<WideChar> text,
                                                   const Localization& localization,
                                                   bool caseSensitive, FILE_CHAR_POS start);
    ///@}
    /// The last position at or before `start` where `text` begins; a negative start searches
    /// from the end.
    ///@{
    virtual FILE_CHAR_POS FindStringPositionInFileReverse(CBasicStringView<char> text,
                                                          const Localization& localization,
                                                          bool caseSensitive, FILE_CHAR_POS start);
    virtual FILE_CHAR_POS FindStringPositionInFileReverse(CBasicStringView<WideChar> text,
                                                          const Localization& localization,
                                                          bool caseSensitive, FILE_CHAR_POS start);
    ///@}
    /// As the searches above, matching the non-blank characters of `text` while blanks (space,
    /// CR, LF, tab) in the file between them are skipped; `end` receives the position after the
    /// last matched character.
    ///@{
    virtual FILE_CHAR_POS FindStringPositionInFileIgnoreInvisibles(View text, FILE_CHAR_POS& end,
                                                                   const Localization& localization,
                                                                   bool caseSensitive,
                                                                   FILE_CHAR_POS start);
    virtual FILE_CHAR_POS
    FindStringPositionInFileIgnoreInvisiblesReverse(View text, FILE_CHAR_POS& end,
                                                    const Localization& localization,
                                                    bool caseSensitive, FILE_CHAR_POS start);
    ///@}
    /// `text` stands at [position, ...), ends right before `position`, or starts right after the
    /// character at `position` (the last two compare case-sensitively).
    ///@{
    virtual bool IsStringAtPosition(FILE_CHAR_POS position, bool caseSensitive, View text,
                                    const Localization& localization);
    virtual bool IsStringBeforePosition(FILE_CHAR_POS position, View text,
                                        const Localization& localization);
    virtual bool IsStringAfterPosition(FILE_CHAR_POS position, View text,
                                       const Localization& localization);
    ///@}
    /// The next non-blank position at or after `position` (the end of the file when there is
    /// none), or with `backwards` the last one at or before it (-1 when there is none).
    virtual FILE_CHAR_POS SkipBlankPositions(FILE_CHAR_POS position, bool backwards);

    /// @}

    /// @addtogroup textfile
    /// @{

    /// Simple scans of an XML file's opening, without parsing. Each returns a character position
    /// and fills a string, or returns -1 and leaves it empty.
    /// The version of an XML declaration "<?xml" at the first non-blank position (after a mark);
    /// returns the position of the value's first character.
    FILE_CHAR_POS GetXMLVersion(CBasicString<WideChar>& version);
    /// The name after the first "<!DOCTYPE" (up to a blank, '[' or '>'); returns its position.
    FILE_CHAR_POS GetDocType(CBasicString<WideChar>& name);
    /// The first start tag: a '<' followed by anything but '?', '!' or '/', comments skipped;
    /// fills its name and returns the position of its '<'.
    FILE_CHAR_POS GetRootElement(CBasicString<WideChar>& name);
    /// The first start tag after the root's, and the first start tag at or after `start`.
    ///@{
    FILE_CHAR_POS GetFirstInstanceElementName(CBasicString<WideChar>& name);
    FILE_CHAR_POS GetFirstInstanceElementNameStartAt(FILE_CHAR_POS start,
                                                     CBasicString<WideChar>& name);
    ///@}
    /// The next token after blanks from `start`: a name, a quoted text (without its quotes) or
    /// one punctuation character; -1 at the end or when its kind is not in `flags`.
    FILE_CHAR_POS FindToken(FILE_CHAR_POS start, TokenFlags flags, CBasicString<WideChar>& token);
    /// The text between the first `open` at or after `start` and the next `close`; returns the
    /// position after `open`.
    FILE_CHAR_POS FindStringBetween(View open, View close, FILE_CHAR_POS start,
                                    CBasicString<WideChar>& between);

    /// @}
    /// @cond INTERNAL
private:
    // Opens m_path as the file type its flags and mark call for: 0 or the error number. A
    // failure reading the mark is thrown.
    int OpenFile(unsigned int flags, bool wide, BasicStringDef::enum_codepage codePage,
                 BasicFile::enum_byteOrder byteOrder);
    template <class Operation>
    decltype(auto) WithFile(const WideChar* operation, Operation&& run) const;
    void RequireValidRange(const WideChar* operation, std::int64_t from, std::int64_t to) const;
    WideChar CharAt(std::int64_t position) const;

    CBasicString<WideChar> m_path;
    // Reading through a const file changes only its buffer, not what the object stands for.
    mutable std::variant<std::monostate, CBasicFile<char>, CBasicFile<WideChar>> m_file;
    /// @endcond
};
