#include "classxml/xmlio/DoctypeOverride.h"

#include <optional>
#include <string>

#include "classxml/xmlio/Prolog.h"

namespace classxml::doctype_override {
namespace {

std::string ExternalId(std::string_view systemId) {
    const char quote = systemId.find('"') == std::string_view::npos ? '"' : '\'';
    return " SYSTEM " + std::string(1, quote) + std::string(systemId) + quote;
}

void Replace(std::vector<unsigned char>& head, std::size_t from, std::size_t to,
             const std::vector<unsigned char>& with) {
    head.erase(head.begin() + std::ptrdiff_t(from), head.begin() + std::ptrdiff_t(to));
    head.insert(head.begin() + std::ptrdiff_t(from), with.begin(), with.end());
}

// The line and column (in UTF-16 units) of a unit, as the parser counts them.
Edit PlaceOf(const prolog::Units& units, std::size_t unit) {
    Edit place{1, 1, 0, 0};
    for (std::size_t i = 0; i < unit; ++i) {
        const std::uint32_t c = units.At(i);
        if (c == '\n' && i > 0 && units.At(i - 1) == '\r') continue;
        if (c == '\n' || c == '\r') {
            ++place.line;
            place.column = 1;
        } else if (units.Width() == 2 || (c & 0xC0) != 0x80) { // UTF-8: a character's first byte
            place.column += units.Width() == 1 && c >= 0xF0 ? 2 : 1;
        }
    }
    return place;
}

// How many UTF-16 units the units [from, to) make.
std::uint64_t Utf16Units(const prolog::Units& units, std::size_t from, std::size_t to) {
    return PlaceOf(units, to).column - PlaceOf(units, from).column;
}

// The end of a declaration from `unit`: past its ">", quoted literals passed over whole.
std::optional<std::size_t> PastDeclaration(const prolog::Units& units, std::size_t unit) {
    while (unit < units.Size()) {
        const std::uint32_t c = units.At(unit);
        if (c == '>') return unit + 1;
        if (c == '"' || c == '\'') {
            const auto end = units.PastLiteral(unit);
            if (!end) return std::nullopt;
            unit = *end;
        } else {
            ++unit;
        }
    }
    return std::nullopt;
}

// The internal subset from `unit` (after its "["), rewritten: general entity declarations kept,
// everything else but line ends made spaces, unit for unit (a character for a character), so
// that every place in it keeps its line and column. Its end, past the "]".
std::optional<std::size_t> Subset(const prolog::Units& units, std::size_t unit,
                                  const std::vector<unsigned char>& head,
                                  std::vector<unsigned char>& out) {
    const auto keep = [&](std::size_t from, std::size_t to) {
        out.insert(out.end(), head.begin() + std::ptrdiff_t(units.ByteOf(from)),
                   head.begin() + std::ptrdiff_t(units.ByteOf(to)));
    };
    const std::vector<unsigned char> space = units.Encode(" ");
    const auto blank = [&](std::size_t from, std::size_t to) {
        for (std::size_t i = from; i < to; ++i) {
            const std::uint32_t c = units.At(i);
            if (c == '\n' || c == '\r') {
                keep(i, i + 1);
            } else if (units.Width() == 2 || (c & 0xC0) != 0x80) {
                out.insert(out.end(), space.begin(), space.end());
                if (units.Width() == 1 && c >= 0xF0)
                    out.insert(out.end(), space.begin(), space.end());
            }
        }
    };
    for (;;) {
        const std::size_t start = unit;
        unit = units.SkipSpace(unit);
        keep(start, unit);
        if (unit >= units.Size()) return std::nullopt;
        if (units.At(unit) == ']') {
            keep(unit, unit + 1);
            return unit + 1;
        }
        std::optional<std::size_t> end;
        bool kept = false;
        if (units.Is(unit, "<!--")) {
            end = units.Past(unit + 4, "-->");
        } else if (units.Is(unit, "<?")) {
            end = units.Past(unit + 2, "?>");
        } else if (units.At(unit) == '%') {
            end = units.Past(unit + 1, ";");
        } else if (units.Is(unit, "<!")) {
            end = PastDeclaration(units, unit + 2);
            kept = units.Is(unit, "<!ENTITY") && units.IsSpace(unit + 8) &&
                   units.At(units.SkipSpace(unit + 8)) != '%';
        } else {
            return std::nullopt; // not a subset the parser takes: it says why
        }
        if (!end) return std::nullopt;
        if (kept)
            keep(unit, *end);
        else
            blank(unit, *end);
        unit = *end;
    }
}

} // namespace

std::uint64_t FileColumn(const std::vector<Edit>& edits, std::uint64_t line, std::uint64_t column) {
    for (const Edit& edit : edits) {
        if (edit.line != line || column < edit.column) continue;
        if (column < edit.column + edit.inserted) return edit.column;
        column = column - edit.inserted + edit.removed;
    }
    return column;
}

Outcome NameDtd(std::vector<unsigned char>& head, bool complete, std::string_view systemId,
                std::vector<Edit>& edits) {
    using Kind = prolog::FirstMarkup::Kind;
    const prolog::Units units = prolog::Units::Sniffed(head.data(), head.size());
    const Outcome short_ = complete ? Outcome::NotPossible : Outcome::NeedMore;
    const prolog::FirstMarkup first = prolog::FindFirstMarkup(units);
    const std::size_t unit = first.at;
    const std::vector<unsigned char> id = units.Encode(ExternalId(systemId));
    if (first.kind == Kind::Doctype) {
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
        const std::size_t open = units.SkipSpace(idEnd);
        if (open >= units.Size()) return short_;
        if (units.At(open) == '[') {
            std::vector<unsigned char> subset;
            const auto end = Subset(units, open + 1, head, subset);
            if (!end) return short_;
            Replace(head, units.ByteOf(open + 1), units.ByteOf(*end), subset);
        }
        const Edit place = PlaceOf(units, nameEnd);
        const std::uint64_t removed = Utf16Units(units, nameEnd, idEnd);
        const std::uint64_t inserted = id.size() / units.Width();
        if (inserted != removed) edits.push_back({place.line, place.column, inserted, removed});
        Replace(head, units.ByteOf(nameEnd), units.ByteOf(idEnd), id);
        return Outcome::Rewritten;
    }
    if (first.kind == Kind::StartTag) {
        const std::size_t nameEnd = units.SkipName(unit + 1);
        if (nameEnd >= units.Size()) return short_;
        std::vector<unsigned char> doctype = units.Encode("<!DOCTYPE ");
        doctype.insert(doctype.end(), head.begin() + std::ptrdiff_t(units.ByteOf(unit + 1)),
                       head.begin() + std::ptrdiff_t(units.ByteOf(nameEnd)));
        doctype.insert(doctype.end(), id.begin(), id.end());
        const std::vector<unsigned char> close = units.Encode(">");
        doctype.insert(doctype.end(), close.begin(), close.end());
        const Edit place = PlaceOf(units, unit);
        const std::uint64_t ascii =
            (doctype.size() - (units.ByteOf(nameEnd) - units.ByteOf(unit + 1))) / units.Width();
        edits.push_back(
            {place.line, place.column, ascii + Utf16Units(units, unit + 1, nameEnd), 0});
        Replace(head, units.ByteOf(unit), units.ByteOf(unit), doctype);
        return Outcome::Rewritten;
    }
    return first.kind == Kind::Unknown ? short_ : Outcome::NotPossible;
}

} // namespace classxml::doctype_override
