#include "classxml/xmlio/DoctypeOverride.h"

#include <cstdint>
#include <optional>
#include <string>

namespace classxml::doctype_override {
namespace {

// The head as code units of one or two bytes, after any byte-order mark.
class Units {
public:
    explicit Units(const std::vector<unsigned char>& bytes) : m_bytes(bytes) {
        const std::size_t n = bytes.size();
        const bool littleMark = n >= 2 && bytes[0] == 0xFF && bytes[1] == 0xFE;
        const bool bigMark = n >= 2 && bytes[0] == 0xFE && bytes[1] == 0xFF;
        m_little = littleMark || (n >= 2 && bytes[0] == '<' && bytes[1] == 0);
        const bool big = bigMark || (n >= 2 && bytes[0] == 0 && bytes[1] == '<');
        m_width = m_little || big ? 2 : 1;
        if (littleMark || bigMark)
            m_start = 2;
        else if (n >= 3 && bytes[0] == 0xEF && bytes[1] == 0xBB && bytes[2] == 0xBF)
            m_start = 3;
    }

    std::size_t Size() const { return (m_bytes.size() - m_start) / m_width; }
    std::uint32_t At(std::size_t unit) const {
        const unsigned char* at = m_bytes.data() + ByteOf(unit);
        if (m_width == 1) return at[0];
        return m_little ? std::uint32_t(at[0] | at[1] << 8) : std::uint32_t(at[0] << 8 | at[1]);
    }
    std::size_t ByteOf(std::size_t unit) const { return m_start + unit * m_width; }

    bool Is(std::size_t unit, std::string_view text) const {
        for (const char c : text)
            if (unit >= Size() || At(unit++) != static_cast<unsigned char>(c)) return false;
        return true;
    }
    // The unit after the next `end` from `unit`.
    std::optional<std::size_t> Past(std::size_t unit, std::string_view end) const {
        for (; unit < Size(); ++unit)
            if (Is(unit, end)) return unit + end.size();
        return std::nullopt;
    }
    bool IsSpace(std::size_t unit) const {
        const std::uint32_t c = unit < Size() ? At(unit) : 0;
        return c == ' ' || c == '\t' || c == '\r' || c == '\n';
    }
    std::size_t SkipSpace(std::size_t unit) const {
        while (IsSpace(unit))
            ++unit;
        return unit;
    }
    bool IsNameStart(std::size_t unit) const {
        const std::uint32_t c = unit < Size() ? At(unit) : 0;
        return c == '_' || c == ':' || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
               c >= 0x80;
    }
    std::size_t SkipName(std::size_t unit) const {
        while (IsNameStart(unit) || (unit < Size() && ((At(unit) >= '0' && At(unit) <= '9') ||
                                                       At(unit) == '-' || At(unit) == '.')))
            ++unit;
        return unit;
    }
    // After a quoted literal at `unit`.
    std::optional<std::size_t> PastLiteral(std::size_t unit) const {
        if (unit >= Size() || (At(unit) != '"' && At(unit) != '\'')) return std::nullopt;
        return Past(unit + 1, At(unit) == '"' ? "\"" : "'");
    }

    std::vector<unsigned char> Encode(std::string_view ascii) const {
        std::vector<unsigned char> bytes;
        for (const char c : ascii) {
            if (m_width == 2 && !m_little) bytes.push_back(0);
            bytes.push_back(static_cast<unsigned char>(c));
            if (m_width == 2 && m_little) bytes.push_back(0);
        }
        return bytes;
    }

private:
    const std::vector<unsigned char>& m_bytes;
    std::size_t m_width = 1;
    bool m_little = false;
    std::size_t m_start = 0;
};

std::string ExternalId(std::string_view systemId) {
    const char quote = systemId.find('"') == std::string_view::npos ? '"' : '\'';
    return " SYSTEM " + std::string(1, quote) + std::string(systemId) + quote;
}

void Replace(std::vector<unsigned char>& head, std::size_t from, std::size_t to,
             const std::vector<unsigned char>& with) {
    head.erase(head.begin() + std::ptrdiff_t(from), head.begin() + std::ptrdiff_t(to));
    head.insert(head.begin() + std::ptrdiff_t(from), with.begin(), with.end());
}

} // namespace

Outcome NameDtd(std::vector<unsigned char>& head, bool complete, std::string_view systemId) {
    const Units units(head);
    const Outcome short_ = complete ? Outcome::NotPossible : Outcome::NeedMore;
    std::size_t unit = 0;
    while (true) {
        unit = units.SkipSpace(unit);
        if (unit + 1 >= units.Size()) return short_;
        if (units.Is(unit, "<?") || units.Is(unit, "<!--")) {
            const auto end =
                units.Is(unit, "<?") ? units.Past(unit + 2, "?>") : units.Past(unit + 4, "-->");
            if (!end) return short_;
            unit = *end;
        } else if (units.Is(unit, "<!DOCTYPE")) {
            // The external id after the root's name, if any, is replaced.
            const std::size_t name = units.SkipSpace(unit + 9);
            const std::size_t nameEnd = units.SkipName(name);
            std::size_t idEnd = nameEnd;
            const std::size_t keyword = units.SkipSpace(nameEnd);
            const bool system = units.Is(keyword, "SYSTEM"), isPublic = units.Is(keyword, "PUBLIC");
            if (system || isPublic) {
                auto end = units.PastLiteral(units.SkipSpace(keyword + 6));
                if (end && isPublic) end = units.PastLiteral(units.SkipSpace(*end));
                if (!end) return short_;
                idEnd = *end;
            } else if (!complete && keyword + 6 >= units.Size()) {
                return Outcome::NeedMore; // an id may yet follow
            }
            if (name == unit + 9 || nameEnd == name) return Outcome::NotPossible;
            Replace(head, units.ByteOf(nameEnd), units.ByteOf(idEnd),
                    units.Encode(ExternalId(systemId)));
            return Outcome::Rewritten;
        } else if (units.At(unit) == '<' && units.IsNameStart(unit + 1)) {
            const std::size_t nameEnd = units.SkipName(unit + 1);
            if (nameEnd >= units.Size()) return short_;
            std::vector<unsigned char> doctype = units.Encode("<!DOCTYPE ");
            doctype.insert(doctype.end(), head.begin() + std::ptrdiff_t(units.ByteOf(unit + 1)),
                           head.begin() + std::ptrdiff_t(units.ByteOf(nameEnd)));
            const std::vector<unsigned char> id = units.Encode(ExternalId(systemId) + ">");
            doctype.insert(doctype.end(), id.begin(), id.end());
            Replace(head, units.ByteOf(unit), units.ByteOf(unit), doctype);
            return Outcome::Rewritten;
        } else {
            return Outcome::NotPossible;
        }
    }
}

} // namespace classxml::doctype_override
