// CVFile: opening, byte access, positions and sizes.
#include "classxml/basicio/VFile.h"

#include "classxml/basicio/VFileDetail.h"
#include "classxml/platform/Utf.h"

using namespace classxml::basicio;
namespace platform = classxml::platform;

namespace {

platform::OpenOptions OptionsFor(unsigned int flags) {
    using Options = platform::OpenOptions;
    Options options;
    options.access = flags & CVFile::kReadWrite ? Options::Access::ReadWrite
                     : flags & CVFile::kWrite   ? Options::Access::Write
                                                : Options::Access::Read;
    options.share = flags & CVFile::kShareDenyNone    ? Options::Share::DenyNone
                    : flags & CVFile::kShareDenyRead  ? Options::Share::DenyRead
                    : flags & CVFile::kShareDenyWrite ? Options::Share::DenyWrite
                    : flags & CVFile::kShareExclusive ? Options::Share::DenyReadWrite
                                                      : Options::Share::DenyNone;
    options.create = (flags & (CVFile::kCreate | CVFile::kCreateNew)) != 0;
    options.exclusive = (flags & CVFile::kCreateNew) != 0;
    options.truncate = (flags & (CVFile::kKeepContent | CVFile::kRead | CVFile::kReadWrite)) == 0;
    options.noInherit = (flags & CVFile::kNoInherit) != 0;
    options.text = (flags & CVFile::kText) != 0; // binary otherwise
    options.shortLived = options.create && (flags & CVFile::kShortLived);
    options.temporary = options.create && (flags & CVFile::kTemporary);
    options.writablePermission = (flags & (CVFile::kReadWrite | CVFile::kWrite)) != 0;
    return options;
}

// The byte order a UTF-16 mark at the start of the file announces, if there is one.
BasicFile::enum_byteOrder MarkedByteOrder(CBasicFile<char>& file) {
    unsigned char mark[2] = {};
    if (file.LengthInBytes() < 2 || file.ReadAt(0, mark, 2) != 2)
        return BasicFile::byteorder_unknown;
    if (mark[0] == 0xFF && mark[1] == 0xFE) return BasicFile::byteorder_little_endian;
    if (mark[0] == 0xFE && mark[1] == 0xFF) return BasicFile::byteorder_big_endian;
    return BasicFile::byteorder_unknown;
}

void WriteMark(CBasicFile<WideChar>& file) {
    const WideChar mark = 0xFEFF;
    file.WriteChars(CBasicStringView<WideChar>(&mark, 1)); // in the file's byte order
}

} // namespace

CVFile::CVFile() = default;

CVFile::~CVFile() = default; // the CBasicFile closes itself

void CVFile::RequireValidRange(const WideChar* operation, std::int64_t from,
                               std::int64_t to) const {
    if (from < 0 || to < from)
        ThrowFileError(m_path, EINVAL, operation, CLASSXML_SOURCE_POS("VFile"));
}

int CVFile::Open(CBasicString<WideChar>&& path, unsigned int flags, CBasicFileException* error,
                 bool wide, BasicStringDef::enum_codepage codePage,
                 BasicFile::enum_byteOrder byteOrder) {
    try {
        Close();
    } catch (const CBasicFileException& failure) {
        const CBasicFileException stillOpen(failure.GetErrorCode(), failure.GetFilePath(),
                                            WIDE("Still Open"), failure.GetSourcePos());
        if (!error) throw stillOpen;
        *error = stillOpen;
        return 0;
    }
    m_path = std::move(path);
    int errorNumber = 0;
    try {
        errorNumber = OpenFile(flags, wide, codePage, byteOrder);
    } catch (const CBasicFileException& failure) { // a read or write of the byte-order mark
        m_file.emplace<std::monostate>();
        if (!error) throw;
        *error = failure;
        return 0;
    }
    if (errorNumber == 0) return 1;
    m_file.emplace<std::monostate>();
    RaiseFileError(m_path, errorNumber, WIDE("Open"), CLASSXML_SOURCE_POS("VFile"), error);
    return 0;
}

int CVFile::OpenFile(unsigned int flags, bool wide, BasicStringDef::enum_codepage codePage,
                     BasicFile::enum_byteOrder byteOrder) {
    const platform::OpenOptions options = OptionsFor(flags);
    const bool readable = (flags & (kRead | kReadWrite)) != 0;
    if (!readable && wide) {
        auto& file = m_file.emplace<CBasicFile<WideChar>>();
        if (byteOrder == BasicFile::byteorder_unknown)
            byteOrder = BasicFile::byteorder_little_endian;
        const int errorNumber = file.Open(m_path, options, codePage, byteOrder);
        if (errorNumber == 0 && file.LengthInBytes() == 0) WriteMark(file);
        return errorNumber;
    }
    auto& file = m_file.emplace<CBasicFile<char>>();
    const int errorNumber = file.Open(m_path, options, codePage, byteOrder);
    const BasicFile::enum_byteOrder marked =
        errorNumber == 0 && readable ? MarkedByteOrder(file) : BasicFile::byteorder_unknown;
    if (marked == BasicFile::byteorder_unknown) return errorNumber;
    const int descriptor = file.Detach();
    return m_file.emplace<CBasicFile<WideChar>>().Attach(descriptor, m_path, codePage, marked);
}

int CVFile::Open(const CBasicString<WideChar>& path, unsigned int flags, CBasicFileException* error,
                 bool wide, BasicStringDef::enum_codepage codePage,
                 BasicFile::enum_byteOrder byteOrder) {
    return Open(CBasicString<WideChar>(path), flags, error, wide, codePage, byteOrder);
}

int CVFile::Open(const CBasicString<char>& path, unsigned int flags, CBasicFileException* error,
                 bool wide, BasicStringDef::enum_codepage codePage,
                 BasicFile::enum_byteOrder byteOrder) {
    return Open(platform::NarrowToWide(path), flags, error, wide, codePage, byteOrder);
}

int CVFile::Open(const View& path, unsigned int flags, CBasicFileException* error, bool wide,
                 BasicStringDef::enum_codepage codePage, BasicFile::enum_byteOrder byteOrder) {
    return Open(CBasicString<WideChar>(path), flags, error, wide, codePage, byteOrder);
}

int CVFile::Open(const WideChar* path, unsigned int flags, CBasicFileException* error, bool wide,
                 BasicStringDef::enum_codepage codePage, BasicFile::enum_byteOrder byteOrder) {
    return Open(CBasicString<WideChar>(path ? path : WIDE("")), flags, error, wide, codePage,
                byteOrder);
}

// The file object is gone afterwards even when its last write fails; the failure is raised.
void CVFile::Close() {
    if (!IsOpen()) return;
    try {
        std::visit(
            [](auto& file) {
                if constexpr (!std::is_same_v<std::decay_t<decltype(file)>, std::monostate>)
                    file.Close();
            },
            m_file);
    } catch (...) {
        m_file.emplace<std::monostate>();
        throw;
    }
    m_file.emplace<std::monostate>();
}

bool CVFile::IsOpen() const { return !std::holds_alternative<std::monostate>(m_file); }

bool CVFile::IsWide() const { return std::holds_alternative<CBasicFile<WideChar>>(m_file); }

unsigned int CVFile::Read(void* buffer, unsigned int bytes) {
    return WithFile(WIDE("Read"), [&](auto& file) {
        return static_cast<unsigned int>(file.Read(buffer, bytes));
    });
}

std::uint64_t CVFile::Write(const void* data, const unsigned int bytes) const {
    return WithFile(WIDE("Write"), [&](auto& file) {
        file.Write(data, bytes);
        return std::uint64_t(bytes);
    });
}

namespace {

template <class Char>
std::uint64_t WriteText(CBasicFile<Char>& file, const CBasicString<Char>& text) {
    file.WriteChars(text);
    return text.size() * sizeof(Char);
}

} // namespace

std::uint64_t CVFile::Write(CBasicStringView<char> text) const {
    return WithFile(WIDE("Write"), [&](auto& file) { return WriteText(file, TextIn(file, text)); });
}

std::uint64_t CVFile::Write(CBasicStringView<char8_t> text) const {
    const CBasicString<WideChar> wide = platform::Utf8ToUtf16(text);
    return Write(CBasicStringView<WideChar>(wide));
}

std::uint64_t CVFile::Write(CBasicStringView<WideChar> text) const {
    return WithFile(WIDE("Write"), [&](auto& file) { return WriteText(file, TextIn(file, text)); });
}

void CVFile::Flush() {
    WithFile(WIDE("Flush"), [](auto& file) { file.Flush(); });
}

FILE_POS CVFile::Seek(FILE_POS offset, BasicFile::enum_fileSeek origin) {
    return WithFile(WIDE("Seek"),
                    [&](auto& file) { return FILE_POS(file.Seek(offset.get(), origin)); });
}

FILE_POS CVFile::Tell() const {
    return WithFile(WIDE("Tell"), [](auto& file) { return FILE_POS(file.Tell()); });
}

FILE_POS CVFile::SeekToEnd() { return Seek(FILE_POS(0), BasicFile::seek_end); }

FILE_POS CVFile::SeekToBegin() { return Seek(FILE_POS(0), BasicFile::seek_begin); }

FILE_CHAR_POS CVFile::SeekChars(FILE_CHAR_POS offset, BasicFile::enum_fileSeek origin) {
    return WithFile(WIDE("SeekChars"), [&](auto& file) {
        constexpr auto unit = std::int64_t(sizeof(typename std::decay_t<decltype(file)>::CharType));
        return FILE_CHAR_POS(file.Seek(offset.get() * unit, origin) / unit);
    });
}

AC_FILE_SIZE_IN_BYTE CVFile::GetLengthInByte() const {
    return WithFile(WIDE("GetLengthInByte"), [](auto& file) {
        return AC_FILE_SIZE_IN_BYTE(std::uint64_t(file.LengthInBytes()));
    });
}

AC_FILE_SIZE_IN_CHARACTER CVFile::GetSizeInCharacters() const {
    return WithFile(WIDE("GetSizeInCharacters"), [](auto& file) {
        return AC_FILE_SIZE_IN_CHARACTER(std::uint64_t(file.SizeInCharacters()));
    });
}

CVFile::View CVFile::GetFilePath() const { return m_path; }

CVFile::View CVFile::GetFileName() const {
    const std::size_t separator = m_path.find_last_of(WIDE("\\/"));
    return separator == CBasicString<WideChar>::npos ? View(m_path)
                                                     : View(m_path).substr(separator + 1);
}

BasicStringDef::enum_codepage CVFile::GetCodePage() const {
    return WithFile(WIDE("GetCodePage"), [](auto& file) { return file.GetCodePage(); });
}

BasicFile::enum_byteOrder CVFile::GetByteOrder() const {
    return WithFile(WIDE("GetByteOrder"), [](auto& file) { return file.GetByteOrder(); });
}

void CVFile::SetFileSize(AC_FILE_SIZE_IN_BYTE size) {
    WithFile(WIDE("SetFileSize"),
             [&](auto& file) { file.SetFileSize(static_cast<std::int64_t>(size.get())); });
}

void CVFile::SetMaxBufferSize(std::size_t bytes) {
    WithFile(WIDE("SetMaxBufferSize"), [&](auto& file) { file.SetMaxBufferSize(bytes); });
}
