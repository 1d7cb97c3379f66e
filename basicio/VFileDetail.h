#pragma once

// What the CVFile sources share: reaching the open file, and text in a file's encoding.
#include <cerrno>
#include <type_traits>

#include "classxml/basicio/TextSearch.h"
#include "classxml/basicio/VFile.h"
#include "classxml/platform/CodePage.h"
#include "classxml/platform/Utf.h"

namespace classxml::basicio {

inline platform::NarrowEncoding EncodingOf(BasicStringDef::enum_codepage codePage) {
    switch (codePage) {
    case BasicStringDef::codepage_latin1:
        return platform::NarrowEncoding::Latin1;
    case BasicStringDef::codepage_utf8:
        return platform::NarrowEncoding::Utf8;
    default:
        return platform::NarrowEncoding::ProcessDefault;
    }
}

// Text given in UTF-16 or in the process code page, in the units of a file.
inline CBasicString<char> TextIn(const CBasicFile<char>& file, CBasicStringView<WideChar> text) {
    CBasicString<char> narrow;
    platform::AppendWideToNarrow(text, EncodingOf(file.GetCodePage()), narrow);
    return narrow;
}
inline CBasicString<WideChar> TextIn(const CBasicFile<WideChar>&, CBasicStringView<WideChar> text) {
    return CBasicString<WideChar>(text);
}
inline CBasicString<char> TextIn(const CBasicFile<char>& file, CBasicStringView<char> text) {
    const auto process = platform::NarrowEncoding::ProcessDefault;
    if (platform::IsSameEncoding(process, EncodingOf(file.GetCodePage())))
        return CBasicString<char>(text);
    CBasicString<WideChar> wide;
    platform::AppendNarrowToWide(text, process, wide);
    return TextIn(file, wide);
}
inline CBasicString<WideChar> TextIn(const CBasicFile<WideChar>&, CBasicStringView<char> text) {
    CBasicString<WideChar> wide;
    platform::AppendNarrowToWide(text, platform::NarrowEncoding::ProcessDefault, wide);
    return wide;
}

// A file's units as UTF-16.
inline void AppendAsWide(const CBasicFile<char>& file, CBasicStringView<char> text,
                         CBasicString<WideChar>& out) {
    platform::AppendNarrowToWide(text, EncodingOf(file.GetCodePage()), out);
}
inline void AppendAsWide(const CBasicFile<WideChar>&, CBasicStringView<WideChar> text,
                         CBasicString<WideChar>& out) {
    out.append(text);
}

// The length of the longest prefix of `units` that does not end inside a character: a UTF-8
// sequence or a surrogate pair that the next block completes stays for that block.
inline std::size_t WholeCharacters(CBasicStringView<char> units,
                                   platform::NarrowEncoding encoding) {
    if (!platform::IsSameEncoding(encoding, platform::NarrowEncoding::Utf8)) return units.size();
    for (std::size_t back = 1; back <= 4 && back <= units.size(); ++back) {
        const auto byte = static_cast<unsigned char>(units[units.size() - back]);
        if ((byte & 0xC0) == 0x80) continue; // a continuation byte: look further back
        const std::size_t length = byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : byte >= 0xC0 ? 2 : 1;
        return length > back ? units.size() - back : units.size();
    }
    return units.size();
}
inline std::size_t WholeCharacters(CBasicStringView<WideChar> units) {
    if (units.empty()) return 0;
    const auto last = static_cast<std::uint16_t>(units.back());
    return platform::IsHighSurrogate(last) ? units.size() - 1 : units.size();
}

} // namespace classxml::basicio

// Runs `run` on the open CBasicFile, or raises error number 9 with `operation`.
template <class Operation>
decltype(auto) CVFile::WithFile(const WideChar* operation, Operation&& run) const {
    using Result = decltype(run(std::get<CBasicFile<char>>(m_file)));
    return std::visit(
        [&](auto& file) -> Result {
            if constexpr (std::is_same_v<std::decay_t<decltype(file)>, std::monostate>)
                ThrowFileError(m_path, EBADF, operation, CLASSXML_SOURCE_POS("VFile"));
            else
                return run(file);
        },
        m_file);
}
