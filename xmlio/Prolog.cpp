#include "classxml/xmlio/Prolog.h"

#include <bit>

#include "classxml/xmlio/XmlText.h"

namespace classxml::prolog {

Units::Units(const unsigned char* bytes, std::size_t size, std::size_t width, bool little,
             std::size_t start)
    : m_bytes(bytes), m_size(size), m_width(width), m_little(little), m_start(start) {}

Units Units::Sniffed(const unsigned char* bytes, std::size_t n) {
    const bool littleMark = n >= 2 && bytes[0] == 0xFF && bytes[1] == 0xFE;
    const bool bigMark = n >= 2 && bytes[0] == 0xFE && bytes[1] == 0xFF;
    const bool little = littleMark || (n >= 2 && bytes[0] == '<' && bytes[1] == 0);
    const bool big = bigMark || (n >= 2 && bytes[0] == 0 && bytes[1] == '<');
    const bool utf8Mark = n >= 3 && bytes[0] == 0xEF && bytes[1] == 0xBB && bytes[2] == 0xBF;
    const std::size_t start = littleMark || bigMark ? 2 : utf8Mark ? 3 : 0;
    return Units(bytes, n, little || big ? 2 : 1, little, start);
}

Units Units::Utf8(CBasicStringView<char8_t> text) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
    return Units(bytes, text.size(), 1, false, text.starts_with(u8"\uFEFF") ? 3 : 0);
}

Units Units::Utf16(CBasicStringView<WideChar> text) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
    const std::size_t start = !text.empty() && text[0] == WideChar(0xFEFF) ? 2 : 0;
    constexpr bool kLittle = std::endian::native == std::endian::little;
    return Units(bytes, 2 * text.size(), 2, kLittle, start);
}

std::uint32_t Units::At(std::size_t unit) const {
    const unsigned char* at = m_bytes + ByteOf(unit);
    if (m_width == 1) return at[0];
    return m_little ? std::uint32_t(at[0] | at[1] << 8) : std::uint32_t(at[0] << 8 | at[1]);
}

bool Units::Is(std::size_t unit, std::string_view ascii) const {
    for (const char c : ascii)
        if (unit >= Size() || At(unit++) != static_cast<unsigned char>(c)) return false;
    return true;
}

std::optional<std::size_t> Units::Past(std::size_t unit, std::string_view end) const {
    for (; unit < Size(); ++unit)
        if (Is(unit, end)) return unit + end.size();
    return std::nullopt;
}

bool Units::IsSpace(std::size_t unit) const {
    const std::uint32_t c = unit < Size() ? At(unit) : 0;
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

std::size_t Units::SkipSpace(std::size_t unit) const {
    while (IsSpace(unit))
        ++unit;
    return unit;
}

// A byte of a multi-byte UTF-8 sequence, or a surrogate, may be part of a name: the parser
// decides.
bool Units::IsNameStart(std::size_t unit) const {
    if (unit >= Size()) return false;
    const std::uint32_t c = At(unit);
    return (m_width == 1 && c >= 0x80) || platform::IsSurrogate(c) ||
           xml_text::IsNameStartCharacter(c);
}

std::size_t Units::SkipName(std::size_t unit) const {
    while (unit < Size() && (IsNameStart(unit) || xml_text::IsNameCharacter(At(unit))))
        ++unit;
    return unit;
}

std::optional<std::size_t> Units::PastLiteral(std::size_t unit) const {
    if (unit >= Size() || (At(unit) != '"' && At(unit) != '\'')) return std::nullopt;
    return Past(unit + 1, At(unit) == '"' ? "\"" : "'");
}

std::vector<unsigned char> Units::Encode(std::string_view ascii) const {
    std::vector<unsigned char> bytes;
    for (const char c : ascii) {
        if (m_width == 2 && !m_little) bytes.push_back(0);
        bytes.push_back(static_cast<unsigned char>(c));
        if (m_width == 2 && m_little) bytes.push_back(0);
    }
    return bytes;
}

FirstMarkup FindFirstMarkup(const Units& units) {
    using Kind = FirstMarkup::Kind;
    for (std::size_t unit = 0;;) {
        unit = units.SkipSpace(unit);
        if (unit + 1 >= units.Size()) return {Kind::Unknown, unit};
        if (units.Is(unit, "<?") || units.Is(unit, "<!--")) {
            const auto end =
                units.Is(unit, "<?") ? units.Past(unit + 2, "?>") : units.Past(unit + 4, "-->");
            if (!end) return {Kind::Unknown, unit};
            unit = *end;
        } else if (units.Is(unit, "<!DOCTYPE")) {
            return {Kind::Doctype, unit};
        } else if (units.At(unit) == '<' && units.IsNameStart(unit + 1)) {
            return {Kind::StartTag, unit};
        } else {
            return {Kind::Other, unit};
        }
    }
}

bool NamesNoDtd(const Units& units) {
    return FindFirstMarkup(units).kind == FirstMarkup::Kind::StartTag;
}

} // namespace classxml::prolog
