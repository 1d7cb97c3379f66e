#include "classxml/scanner/Route.h"

#include <cctype>
#include <string>
#include <string_view>

#include "classxml/xmlio/Prolog.h"

namespace classxml::scanner {
namespace {

bool IsSpace(std::uint32_t unit) {
    return unit == ' ' || unit == '\t' || unit == '\n' || unit == '\r';
}

// Reads an XML declaration the parser takes as it is: version 1.0, an encoding that is the
// document's own, standalone yes or no, in that order. The units after it, or nothing.
class Declaration {
public:
    Declaration(const prolog::Units& units, Encoding encoding, bool forced)
        : m_units(units), m_encoding(encoding), m_forced(forced) {}

    std::optional<std::size_t> End() {
        m_at = 5; // "<?xml"
        if (!Space()) return std::nullopt;
        if (!Pair("version") || m_value != "1.0") return std::nullopt;
        bool spaced = Space();
        if (spaced && m_units.Is(m_at, "encoding")) {
            if (!Pair("encoding") || !EncodingMatches()) return std::nullopt;
            spaced = Space();
        }
        if (spaced && m_units.Is(m_at, "standalone")) {
            if (!Pair("standalone") || (m_value != "yes" && m_value != "no")) return std::nullopt;
            Space();
        }
        if (!m_units.Is(m_at, "?>")) return std::nullopt;
        return m_at + 2;
    }

private:
    bool Space() {
        const std::size_t start = m_at;
        while (m_at < m_units.Size() && IsSpace(m_units.At(m_at)))
            ++m_at;
        return m_at > start;
    }
    // name Eq quoted-value, the value into m_value (ASCII only).
    bool Pair(std::string_view name) {
        if (!m_units.Is(m_at, name)) return false;
        m_at += name.size();
        Space();
        if (!m_units.Is(m_at, "=")) return false;
        ++m_at;
        Space();
        if (m_at >= m_units.Size()) return false;
        const std::uint32_t quote = m_units.At(m_at);
        if (quote != '"' && quote != '\'') return false;
        m_value.clear();
        for (++m_at; m_at < m_units.Size() && m_units.At(m_at) != quote; ++m_at) {
            const std::uint32_t unit = m_units.At(m_at);
            if (unit >= 0x80 || unit < 0x20) return false;
            m_value += char(unit);
        }
        if (m_at >= m_units.Size()) return false;
        ++m_at;
        return true;
    }
    // A forced encoding takes any name of one, as the parser does.
    bool EncodingMatches() const {
        if (m_forced) {
            bool valid = !m_value.empty() && std::isalpha(static_cast<unsigned char>(m_value[0]));
            for (const char c : m_value)
                valid = valid && (std::isalnum(static_cast<unsigned char>(c)) || c == '.' ||
                                  c == '_' || c == '-');
            return valid;
        }
        std::string upper;
        for (const char c : m_value)
            upper += char(c >= 'a' && c <= 'z' ? c - 32 : c);
        if (m_encoding == Encoding::Utf8) return upper == "UTF-8";
        if (upper == "UTF-16") return true;
        return upper == (m_encoding == Encoding::Utf16Little ? "UTF-16LE" : "UTF-16BE");
    }

    const prolog::Units& m_units;
    Encoding m_encoding;
    bool m_forced;
    std::size_t m_at = 0;
    std::string m_value;
};

} // namespace

std::optional<Route> RouteOf(const unsigned char* head, std::size_t size,
                             std::optional<Encoding> forced) {
    Route route;
    if (forced) {
        route.encoding = *forced;
        const bool utf8 = *forced == Encoding::Utf8;
        const bool mark = utf8 ? size >= 3 && head[0] == 0xEF && head[1] == 0xBB && head[2] == 0xBF
                               : size >= 2 && ((head[0] == 0xFF && head[1] == 0xFE) ||
                                               (head[0] == 0xFE && head[1] == 0xFF));
        route.byteOrderMark = mark ? (utf8 ? 3 : 2) : 0;
    } else if (size >= 2 && head[0] == 0xFF && head[1] == 0xFE) {
        if (size >= 4 && head[2] == 0 && head[3] == 0) return std::nullopt; // UCS-4
        route = {Encoding::Utf16Little, 2, 0};
    } else if (size >= 2 && head[0] == 0xFE && head[1] == 0xFF) {
        route = {Encoding::Utf16Big, 2, 0};
    } else if (size >= 2 && (head[0] == 0 || head[1] == 0)) {
        return std::nullopt; // UTF-16 without a mark, UCS-4, EBCDIC: as the parser makes out
    } else if (size >= 3 && head[0] == 0xEF && head[1] == 0xBB && head[2] == 0xBF) {
        route = {Encoding::Utf8, 3, 0};
    }
    const prolog::Units units =
        route.encoding == Encoding::Utf8
            ? prolog::Units::Utf8({reinterpret_cast<const char8_t*>(head), size})
        : forced ? prolog::Units::Utf16({reinterpret_cast<const WideChar*>(head), size / 2})
                 : prolog::Units::Sniffed(head, size);
    std::size_t declarationUnits = 0;
    if (units.Is(0, "<?xml") && units.Size() > 5 && IsSpace(units.At(5))) {
        const auto end = Declaration(units, route.encoding, forced.has_value()).End();
        if (!end) return std::nullopt;
        declarationUnits = *end;
    }
    if (prolog::FindFirstMarkup(units).kind != prolog::FirstMarkup::Kind::StartTag)
        return std::nullopt;
    route.declaration = declarationUnits; // ASCII: as many bytes of UTF-8
    return route;
}

} // namespace classxml::scanner
