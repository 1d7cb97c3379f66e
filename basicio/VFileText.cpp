// CVFile: reading text out of a file and copying characters between files.
#include <algorithm>
#include <vector>

#include "classxml/basicio/VFile.h"
#include "classxml/basicio/VFileDetail.h"
#include "classxml/platform/Utf.h"

using namespace classxml::basicio;
namespace platform = classxml::platform;

namespace {

// Copies go through blocks of at most this size, so memory stays flat whatever the file's size.
constexpr std::size_t kBlockBytes = std::size_t(1) << 20;

// The bytes [fromByte, toByte) of `source` (clipped to its end), unchanged, at the current
// position of `target`; returns how many were copied.
template <class Source, class Target>
std::uint64_t CopyBytes(Source& source, std::int64_t fromByte, std::int64_t toByte,
                        Target& target) {
    toByte = std::min(toByte, source.LengthInBytes());
    std::vector<char> block(
        std::size_t(std::clamp<std::int64_t>(toByte - fromByte, 0, kBlockBytes)));
    std::uint64_t copied = 0;
    for (std::int64_t offset = fromByte; offset < toByte;) {
        const auto wanted = static_cast<std::size_t>(
            std::min<std::int64_t>(toByte - offset, static_cast<std::int64_t>(block.size())));
        const std::size_t got = source.ReadAt(offset, block.data(), wanted);
        if (got == 0) break;
        target.Write(block.data(), got);
        offset += static_cast<std::int64_t>(got);
        copied += got;
    }
    return copied;
}

bool SameUnits(const CBasicFile<char>& source, const CBasicFile<char>& target) {
    return platform::IsSameEncoding(EncodingOf(source.GetCodePage()),
                                    EncodingOf(target.GetCodePage()));
}
bool SameUnits(const CBasicFile<WideChar>& source, const CBasicFile<WideChar>& target) {
    const auto big = [](const CBasicFile<WideChar>& file) {
        return file.GetByteOrder() == BasicFile::byteorder_big_endian;
    };
    return big(source) == big(target);
}

std::size_t WholeCharactersOf(const CBasicFile<char>& file, CBasicStringView<char> units) {
    return WholeCharacters(units, EncodingOf(file.GetCodePage()));
}
std::size_t WholeCharactersOf(const CBasicFile<WideChar>&, CBasicStringView<WideChar> units) {
    return WholeCharacters(units);
}

// Hands the characters [from, to) of `file` to `consume` in blocks that never end inside a
// character: a UTF-8 sequence or surrogate pair cut by a block's end waits for the next block.
template <class File, class Consume>
void ForEachBlock(File& file, std::int64_t from, std::int64_t to, Consume consume) {
    using Char = typename File::CharType;
    const auto blockUnits = std::int64_t(kBlockBytes / sizeof(Char));
    CBasicString<Char> units;
    for (std::int64_t position = from; position < to;) {
        units.clear();
        file.ReadChars(position, std::min(to, position + blockUnits), units);
        if (units.empty()) break;
        std::size_t whole = units.size();
        if (position + std::int64_t(units.size()) < to) whole = WholeCharactersOf(file, units);
        if (whole == 0) whole = units.size(); // a block of one broken character
        consume(CBasicStringView<Char>(units).substr(0, whole));
        position += std::int64_t(whole);
    }
}

// Characters [from, to) of `source` at the current position of `target`.
template <class Source, class Target>
void CopyCharacters(Source& source, std::int64_t from, std::int64_t to, Target& target) {
    using SourceChar = typename Source::CharType;
    to = std::min(to, source.SizeInCharacters());
    if (from >= to) return;
    if constexpr (std::is_same_v<Source, Target>) {
        if (SameUnits(source, target)) {
            CopyBytes(source, from * std::int64_t(sizeof(SourceChar)),
                      to * std::int64_t(sizeof(SourceChar)), target);
            return;
        }
    }
    CBasicString<WideChar> wide;
    ForEachBlock(source, from, to, [&](CBasicStringView<SourceChar> units) {
        wide.clear();
        AppendAsWide(source, units, wide);
        target.WriteChars(TextIn(target, wide));
    });
}

// Characters of `source` from `from` up to the first `stop` at the current position of
// `target`, in one pass over blocks of the source; where `stop` stands, or -1.
template <class Source, class Target>
std::int64_t CopyCharactersUpTo(Source& source, std::int64_t from, WideChar stop, Target& target) {
    using SourceChar = typename Source::CharType;
    const auto stopUnits = TextIn(source, CBasicStringView<WideChar>(&stop, 1));
    const auto blockUnits = std::int64_t(kBlockBytes / sizeof(SourceChar));
    const std::int64_t end = source.SizeInCharacters();
    CBasicString<SourceChar> units;
    CBasicString<WideChar> wide;
    for (std::int64_t position = from; position < end;) {
        units.clear();
        source.ReadChars(position, std::min(end, position + blockUnits), units);
        if (units.empty()) break;
        const std::size_t found = units.find(stopUnits);
        CBasicStringView<SourceChar> part(units.data(), found == units.npos ? units.size() : found);
        if (found == units.npos && position + std::int64_t(units.size()) < end) {
            // A character cut by the block's end, or a stop that begins in it, waits.
            const std::size_t whole = WholeCharactersOf(source, part);
            part = part.substr(
                0, std::min(whole ? whole : part.size(), part.size() - (stopUnits.size() - 1)));
        }
        bool same = false;
        if constexpr (std::is_same_v<Source, Target>) same = SameUnits(source, target);
        if constexpr (std::is_same_v<Source, Target>)
            if (same) target.WriteChars(part);
        if (!same) {
            wide.clear();
            AppendAsWide(source, part, wide);
            target.WriteChars(TextIn(target, wide));
        }
        position += std::int64_t(part.size());
        if (found != units.npos) return position;
    }
    return -1;
}

} // namespace

FILE_CHAR_POS CVFile::AppendFileContentUpTo(const CVFile& source, FILE_CHAR_POS from,
                                            WideChar stop) {
    return WithFile(WIDE("AppendFileContentUpTo"), [&](auto& target) {
        RequireValidRange(WIDE("AppendFileContentUpTo"), from.get(), from.get());
        target.Seek(0, BasicFile::seek_end);
        return source.WithFile(WIDE("AppendFileContentUpTo"), [&](auto& input) {
            return FILE_CHAR_POS(CopyCharactersUpTo(input, from.get(), stop, target));
        });
    });
}

FILE_CHAR_POS CVFile::AppendFileContent(const CVFile& source, FILE_CHAR_POS from,
                                        FILE_CHAR_POS to) {
    return WithFile(WIDE("AppendFileContent"), [&](auto& target) {
        RequireValidRange(WIDE("AppendFileContent"), from.get(), to.get());
        target.Seek(0, BasicFile::seek_end);
        source.WithFile(WIDE("AppendFileContent"),
                        [&](auto& input) { CopyCharacters(input, from.get(), to.get(), target); });
        using Char = typename std::decay_t<decltype(target)>::CharType;
        return FILE_CHAR_POS(target.Tell() / std::int64_t(sizeof(Char)));
    });
}

FILE_CHAR_POS CVFile::AppendFileContentAtEndOfFile(const CVFile& source, FILE_CHAR_POS from,
                                                   FILE_CHAR_POS to) {
    return AppendFileContent(source, from, to);
}

std::uint64_t CVFile::AppendFileBuffer(const CVFile& source, std::uint64_t from, std::uint64_t to) {
    return WithFile(WIDE("AppendFileBuffer"), [&](auto& target) {
        RequireValidRange(WIDE("AppendFileBuffer"), static_cast<std::int64_t>(from),
                          static_cast<std::int64_t>(to));
        target.Seek(0, BasicFile::seek_end); // appends, wherever the position stood
        return source.WithFile(WIDE("AppendFileBuffer"), [&](auto& input) {
            return CopyBytes(input, static_cast<std::int64_t>(from), static_cast<std::int64_t>(to),
                             target);
        });
    });
}

void CVFile::GetStringFromFile(CBasicString<WideChar>& out, FILE_CHAR_POS from, FILE_CHAR_POS to,
                               bool) const {
    out.clear();
    WithFile(WIDE("GetStringFromFile"), [&](auto& file) {
        using Char = typename std::decay_t<decltype(file)>::CharType;
        std::int64_t start = from.get();
        // Reading a UTF-16 file "from the start" leaves its byte-order mark out.
        if constexpr (std::is_same_v<Char, WideChar>)
            if (start == 0) start = 1;
        RequireValidRange(WIDE("GetStringFromFile"), start, std::max(start, to.get()));
        if constexpr (std::is_same_v<Char, WideChar>) {
            file.ReadChars(start, to.get(), out);
        } else {
            // Every code page has one conversion here; `generalConversion` changes nothing.
            ForEachBlock(file, start, std::min(to.get(), file.SizeInCharacters()),
                         [&](CBasicStringView<char> units) { AppendAsWide(file, units, out); });
        }
    });
}

void CVFile::GetStringFromFile(CBasicString<char>& out, FILE_CHAR_POS from, FILE_CHAR_POS to,
                               bool generalConversion) const {
    out.clear();
    const bool processUnits = WithFile(WIDE("GetStringFromFile"), [&](auto& file) {
        using Char = typename std::decay_t<decltype(file)>::CharType;
        if constexpr (std::is_same_v<Char, char>)
            return platform::IsSameEncoding(EncodingOf(file.GetCodePage()),
                                            platform::NarrowEncoding::ProcessDefault);
        return false;
    });
    if (processUnits) { // narrow text already in the process code page: the units themselves
        RequireValidRange(WIDE("GetStringFromFile"), from.get(), std::max(from.get(), to.get()));
        std::get<CBasicFile<char>>(m_file).ReadChars(from.get(), to.get(), out);
        return;
    }
    CBasicString<WideChar> wide;
    GetStringFromFile(wide, from, to, generalConversion);
    platform::AppendWideToNarrow(wide, platform::NarrowEncoding::ProcessDefault, out);
}

void CVFile::GetStringFromFile(CBasicString<char8_t>& out, FILE_CHAR_POS from, FILE_CHAR_POS to,
                               bool generalConversion) const {
    CBasicString<WideChar> wide;
    GetStringFromFile(wide, from, to, generalConversion);
    out = platform::Utf16ToUtf8(wide);
}

FILE_CHAR_POS CVFile::AlignToCharacter(FILE_CHAR_POS position) const {
    return WithFile(WIDE("AlignToCharacter"), [&](auto& file) {
        using Char = typename std::decay_t<decltype(file)>::CharType;
        std::int64_t aligned = std::clamp<std::int64_t>(position.get(), 0, file.SizeInCharacters());
        const std::int64_t lowest = std::max<std::int64_t>(0, aligned - 3);
        Char unit{};
        if constexpr (std::is_same_v<Char, WideChar>) {
            if (file.CharAt(aligned, unit) && platform::IsLowSurrogate(unit))
                --aligned; // inside a surrogate pair
        } else if (platform::IsSameEncoding(EncodingOf(file.GetCodePage()),
                                            platform::NarrowEncoding::Utf8)) {
            while (aligned > lowest && file.CharAt(aligned, unit) &&
                   (static_cast<unsigned char>(unit) & 0xC0) == 0x80)
                --aligned; // a continuation byte: the character began earlier
        }
        return FILE_CHAR_POS(aligned);
    });
}
