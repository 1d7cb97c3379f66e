// CBasicFile: one open file behind a single buffer, read, written and searched in characters.
#include "classxml/BasicFile.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstring>
#include <new>

#include "classxml/basicio/BasicFileException.h"
#include "classxml/basicio/CaseFolding.h"
#include "classxml/basicio/TextSearch.h"

using classxml::basicio::IsBlank;
using classxml::basicio::LowerCase;
using classxml::basicio::TextSearcher;
namespace platform = classxml::platform;

namespace {

constexpr std::size_t kMinimumBufferSize = 4096;

void SwapBytes(char*, std::size_t) {}
void SwapBytes(WideChar* units, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        const auto unit = static_cast<std::uint16_t>(units[i]);
        units[i] = static_cast<WideChar>((unit >> 8) | (unit << 8));
    }
}

} // namespace

template <class Char>
CBasicFile<Char>::CBasicFile() = default;

template <class Char>
CBasicFile<Char>::~CBasicFile() {
    try {
        Close();
    } catch (...) {
    }
}

template <class Char>
void CBasicFile<Char>::Fail(int errorNumber, const WideChar* operation) const {
    ThrowFileError(m_path, errorNumber, operation, CLASSXML_SOURCE_POS("BasicFile"));
}

template <class Char>
int CBasicFile<Char>::Open(const CBasicString<WideChar>& path, const platform::OpenOptions& options,
                           BasicStringDef::enum_codepage codePage,
                           BasicFile::enum_byteOrder byteOrder) {
    Close();
    int error = 0;
    const int descriptor = platform::OpenFile(path, options, error);
    if (descriptor < 0) return error;
    return Attach(descriptor, path, codePage, byteOrder);
}

template <class Char>
int CBasicFile<Char>::Attach(int descriptor, const CBasicString<WideChar>& path,
                             BasicStringDef::enum_codepage codePage,
                             BasicFile::enum_byteOrder byteOrder) {
    Close();
    int error = 0;
    const std::int64_t length = platform::FileLength(descriptor, error);
    if (length < 0) {
        platform::CloseFile(descriptor);
        return error;
    }
    m_descriptor = descriptor;
    m_path = path;
    m_codePage = codePage;
    m_byteOrder = byteOrder;
    m_length = length;
    m_position = 0;
    m_bufferOffset = 0;
    m_bufferLength = 0;
    m_dirty = false;
    return 0;
}

template <class Char>
int CBasicFile<Char>::Detach() {
    WriteBack();
    const int descriptor = m_descriptor;
    m_descriptor = -1;
    m_bufferLength = 0;
    return descriptor;
}

// The descriptor is closed even when the last write fails; the failure is still raised.
template <class Char>
void CBasicFile<Char>::Close() {
    if (!IsOpen()) return;
    const int writeError = m_dirty ? platform::WriteFileAt(m_descriptor, m_bufferOffset,
                                                           m_buffer.get(), m_bufferLength)
                                   : 0;
    const int closeError = platform::CloseFile(m_descriptor);
    m_descriptor = -1;
    m_dirty = false;
    m_bufferLength = 0;
    m_buffer.reset();
    m_bufferCapacity = 0;
    m_scratch = {};
    if (writeError) Fail(writeError, WIDE("Close"));
    if (closeError) Fail(closeError, WIDE("Close"));
}

template <class Char>
bool CBasicFile<Char>::Swapped() const {
    if constexpr (sizeof(Char) == 1) return false;
    return (m_byteOrder == BasicFile::byteorder_big_endian) !=
           (std::endian::native == std::endian::big);
}

template <class Char>
void CBasicFile<Char>::WriteBack() {
    if (!m_dirty) return;
    m_dirty = false; // what stays in the buffer is a clean copy from here on
    const int error =
        platform::WriteFileAt(m_descriptor, m_bufferOffset, m_buffer.get(), m_bufferLength);
    if (error) {
        m_bufferLength = 0;
        Fail(error, WIDE("Write"));
    }
}

template <class Char>
void CBasicFile<Char>::AllocateBuffer(const WideChar* operation) {
    if (m_buffer) return;
    m_bufferCapacity = m_maxBufferSize;
    m_buffer.reset(new (std::nothrow) char[m_bufferCapacity]);
    if (!m_buffer) Fail(ENOMEM, operation);
}

template <class Char>
void CBasicFile<Char>::Load(std::int64_t offset) {
    WriteBack();
    AllocateBuffer(WIDE("Read"));
    int error = 0;
    const std::int64_t got =
        platform::ReadFileAt(m_descriptor, offset, m_buffer.get(), m_bufferCapacity, error);
    m_bufferOffset = offset;
    m_bufferLength = got < 0 ? 0 : static_cast<std::size_t>(got);
    if (got < 0) Fail(error, WIDE("Read"));
}

template <class Char>
CBasicStringView<Char> CBasicFile<Char>::Window(std::int64_t position, std::size_t minimum) {
    const std::int64_t offset = position * std::int64_t(sizeof(Char));
    if (offset < 0 || offset >= m_length) return {};
    const std::int64_t wanted =
        std::min<std::int64_t>(offset + std::int64_t(minimum * sizeof(Char)), m_length);
    const std::int64_t bufferEnd = m_bufferOffset + std::int64_t(m_bufferLength);
    if (offset < m_bufferOffset || wanted > bufferEnd) Load(offset);
    const std::size_t skipped = static_cast<std::size_t>(offset - m_bufferOffset);
    if (skipped >= m_bufferLength) return {};
    return {reinterpret_cast<const Char*>(m_buffer.get() + skipped),
            (m_bufferLength - skipped) / sizeof(Char)};
}

template <class Char>
std::size_t CBasicFile<Char>::ReadAt(std::int64_t offset, void* buffer, std::size_t bytes) {
    if (bytes == 0 || offset >= m_length) return 0;
    const std::int64_t bufferEnd = m_bufferOffset + std::int64_t(m_bufferLength);
    if (offset >= m_bufferOffset && offset + std::int64_t(bytes) <= bufferEnd) {
        std::memcpy(buffer, m_buffer.get() + (offset - m_bufferOffset), bytes);
        return bytes;
    }
    WriteBack();
    if (bytes >= m_maxBufferSize / 2) { // large reads go straight to the caller's memory
        int error = 0;
        const std::int64_t got = platform::ReadFileAt(m_descriptor, offset, buffer, bytes, error);
        if (got < 0) Fail(error, WIDE("Read"));
        return static_cast<std::size_t>(got);
    }
    Load(offset);
    const std::size_t got = std::min(bytes, m_bufferLength);
    std::memcpy(buffer, m_buffer.get(), got);
    return got;
}

template <class Char>
std::size_t CBasicFile<Char>::Read(void* buffer, std::size_t bytes) {
    const std::size_t got = ReadAt(m_position, buffer, bytes);
    m_position += std::int64_t(got);
    return got;
}

// Writes continuing the buffered ones are collected; anything else writes the buffer back first.
// Writes of at least a buffer's size go to the file directly.
template <class Char>
void CBasicFile<Char>::Write(const void* data, std::size_t bytes) {
    if (bytes == 0) return;
    const bool continues = m_dirty && m_position == m_bufferOffset + std::int64_t(m_bufferLength) &&
                           m_bufferLength + bytes <= m_bufferCapacity;
    if (continues) {
        std::memcpy(m_buffer.get() + m_bufferLength, data, bytes);
        m_bufferLength += bytes;
    } else {
        WriteBack();
        m_bufferLength = 0; // the cached copy may overlap what is written now
        if (bytes >= m_maxBufferSize) {
            if (const int error = platform::WriteFileAt(m_descriptor, m_position, data, bytes))
                Fail(error, WIDE("Write"));
        } else {
            AllocateBuffer(WIDE("Write"));
            std::memcpy(m_buffer.get(), data, bytes);
            m_bufferOffset = m_position;
            m_bufferLength = bytes;
            m_dirty = true;
        }
    }
    m_position += std::int64_t(bytes);
    m_length = std::max(m_length, m_position);
}

template <class Char>
void CBasicFile<Char>::Flush() {
    WriteBack();
}

template <class Char>
std::int64_t CBasicFile<Char>::Seek(std::int64_t offset, BasicFile::enum_fileSeek origin) {
    const std::int64_t base = origin == BasicFile::seek_current ? m_position
                              : origin == BasicFile::seek_end   ? m_length
                                                                : 0;
    if (base + offset < 0) Fail(EINVAL, WIDE("Seek"));
    m_position = base + offset;
    return m_position;
}

template <class Char>
void CBasicFile<Char>::ReadChars(std::int64_t from, std::int64_t to, CBasicString<Char>& out) {
    to = std::min(to, SizeInCharacters());
    for (std::int64_t position = std::max<std::int64_t>(from, 0); position < to;) {
        const CBasicStringView<Char> window = Window(position, 1);
        const auto taken = std::min<std::size_t>(window.size(), std::size_t(to - position));
        if (taken == 0) break;
        const std::size_t start = out.size();
        out.append(window.substr(0, taken));
        if (Swapped()) SwapBytes(out.data() + start, taken);
        position += std::int64_t(taken);
    }
}

template <class Char>
void CBasicFile<Char>::WriteChars(CBasicStringView<Char> text) {
    if (!Swapped()) {
        Write(text.data(), text.size() * sizeof(Char));
        return;
    }
    CBasicString<Char> swapped(text);
    SwapBytes(swapped.data(), swapped.size());
    Write(swapped.data(), swapped.size() * sizeof(Char));
}

template <class Char>
bool CBasicFile<Char>::CharAt(std::int64_t position, Char& unit) {
    const CBasicStringView<Char> window = Window(position, 1);
    if (window.empty()) return false;
    unit = window.front();
    if (Swapped()) SwapBytes(&unit, 1);
    return true;
}

// The needle as the windows will be compared, with a buffer that holds a whole match with room
// to move on.
template <class Char>
CBasicString<Char> CBasicFile<Char>::PrepareSearch(CBasicStringView<Char> text,
                                                   bool caseSensitive) {
    CBasicString<Char> needle(text);
    if (!caseSensitive) LowerCase(needle.data(), needle.size());
    SetMaxBufferSize(std::max(m_maxBufferSize, 4 * needle.size() * sizeof(Char)));
    return needle;
}

// The window in the host's byte order and, without case sensitivity, lower-cased: the window
// itself when that changes nothing, else a copy in the scratch space.
template <class Char>
CBasicStringView<Char> CBasicFile<Char>::Comparable(CBasicStringView<Char> window,
                                                    bool caseSensitive) {
    if (!Swapped() && caseSensitive) return window;
    m_scratch.assign(window.begin(), window.end());
    if (Swapped()) SwapBytes(m_scratch.data(), m_scratch.size());
    if (!caseSensitive) LowerCase(m_scratch.data(), m_scratch.size());
    return {m_scratch.data(), m_scratch.size()};
}

// Without case, narrow files are folded character by character in their encoding (see
// CaseFolding.h); UTF-16 files code unit by code unit in the blocks themselves.
template <class Char>
std::int64_t CBasicFile<Char>::Find(CBasicStringView<Char> text, bool caseSensitive,
                                    std::int64_t start) {
    if constexpr (sizeof(Char) == 1)
        if (!caseSensitive) return classxml::basicio::FindFolded(*this, text, start);
    start = std::max<std::int64_t>(start, 0);
    const std::int64_t size = SizeInCharacters();
    if (start > size) return -1;
    if (text.empty()) return start;
    const CBasicString<Char> needle = PrepareSearch(text, caseSensitive);
    const TextSearcher<Char> searcher(needle);
    for (std::int64_t position = start;;) {
        const CBasicStringView<Char> window = Window(position, needle.size());
        if (window.size() < needle.size()) return -1;
        const std::size_t found = searcher.FindIn(Comparable(window, caseSensitive));
        if (found != TextSearcher<Char>::npos) return position + std::int64_t(found);
        if (position + std::int64_t(window.size()) >= size) return -1;
        position += std::int64_t(window.size() - (needle.size() - 1)); // overlap across borders
    }
}

template <class Char>
std::int64_t CBasicFile<Char>::FindReverse(CBasicStringView<Char> text, bool caseSensitive,
                                           std::int64_t start) {
    if constexpr (sizeof(Char) == 1)
        if (!caseSensitive) return classxml::basicio::FindFoldedReverse(*this, text, start);
    const std::int64_t size = SizeInCharacters();
    const auto length = std::int64_t(text.size());
    if (start < 0 || start > size - length) start = size - length;
    if (start < 0) return -1;
    if (length == 0) return start;
    const CBasicString<Char> needle = PrepareSearch(text, caseSensitive);
    const auto span = std::int64_t(m_maxBufferSize / sizeof(Char));
    // Windows [low, high) from the end backwards, overlapping by length - 1.
    for (std::int64_t high = start + length;;) {
        const std::int64_t low = std::max<std::int64_t>(0, high - span);
        const CBasicStringView<Char> window =
            Window(low, std::size_t(high - low)).substr(0, std::size_t(high - low));
        const std::size_t found = Comparable(window, caseSensitive).rfind(needle);
        if (found != CBasicStringView<Char>::npos) return low + std::int64_t(found);
        if (low == 0) return -1;
        high = low + length - 1;
    }
}

template <class Char>
std::int64_t CBasicFile<Char>::GetNextNonBlankPosition(std::int64_t position) {
    const std::int64_t size = SizeInCharacters();
    if (position < 0 || position > size) return m_position / std::int64_t(sizeof(Char));
    while (position < size) {
        const CBasicStringView<Char> window = Window(position, 1);
        for (std::size_t i = 0; i < window.size(); ++i) {
            Char unit = window[i];
            if (Swapped()) SwapBytes(&unit, 1);
            if (!IsBlank(unit)) return position + std::int64_t(i);
        }
        if (window.empty()) break;
        position += std::int64_t(window.size());
    }
    return size;
}

template <class Char>
std::int64_t CBasicFile<Char>::GetPreviousNonBlankPosition(std::int64_t position) {
    position = std::min(position, SizeInCharacters() - 1);
    const auto span = std::int64_t(m_maxBufferSize / sizeof(Char));
    while (position >= 0) {
        const std::int64_t low = std::max<std::int64_t>(0, position + 1 - span);
        const CBasicStringView<Char> window = Window(low, std::size_t(position + 1 - low));
        for (std::int64_t i = position - low; i >= 0 && i < std::int64_t(window.size()); --i) {
            Char unit = window[std::size_t(i)];
            if (Swapped()) SwapBytes(&unit, 1);
            if (!IsBlank(unit)) return low + i;
        }
        position = low - 1;
    }
    return -1;
}

template <class Char>
void CBasicFile<Char>::SetFileSize(std::int64_t bytes) {
    WriteBack();
    if (bytes < 0) Fail(EINVAL, WIDE("SetFileSize"));
    if (const int error = platform::ResizeFile(m_descriptor, bytes))
        Fail(error, WIDE("SetFileSize"));
    m_length = bytes;
    m_bufferLength = 0;
}

template <class Char>
void CBasicFile<Char>::SetMaxBufferSize(std::size_t bytes) {
    bytes = std::max(bytes, kMinimumBufferSize) & ~std::size_t(1); // whole UTF-16 units
    if (bytes == m_maxBufferSize) return;
    WriteBack();
    m_maxBufferSize = bytes;
    m_buffer.reset();
    m_bufferCapacity = 0;
    m_bufferLength = 0;
}

template class CBasicFile<char>;
template class CBasicFile<WideChar>;
