#include "classxml/xmlio/DoctypeOverride.h"

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

} // namespace

Outcome NameDtd(std::vector<unsigned char>& head, bool complete, std::string_view systemId) {
    using Kind = prolog::FirstMarkup::Kind;
    const prolog::Units units = prolog::Units::Sniffed(head.data(), head.size());
    const Outcome short_ = complete ? Outcome::NotPossible : Outcome::NeedMore;
    const prolog::FirstMarkup first = prolog::FindFirstMarkup(units);
    const std::size_t unit = first.at;
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
        Replace(head, units.ByteOf(nameEnd), units.ByteOf(idEnd),
                units.Encode(ExternalId(systemId)));
        return Outcome::Rewritten;
    }
    if (first.kind == Kind::StartTag) {
        const std::size_t nameEnd = units.SkipName(unit + 1);
        if (nameEnd >= units.Size()) return short_;
        std::vector<unsigned char> doctype = units.Encode("<!DOCTYPE ");
        doctype.insert(doctype.end(), head.begin() + std::ptrdiff_t(units.ByteOf(unit + 1)),
                       head.begin() + std::ptrdiff_t(units.ByteOf(nameEnd)));
        const std::vector<unsigned char> id = units.Encode(ExternalId(systemId) + ">");
        doctype.insert(doctype.end(), id.begin(), id.end());
        Replace(head, units.ByteOf(unit), units.ByteOf(unit), doctype);
        return Outcome::Rewritten;
    }
    return first.kind == Kind::Unknown ? short_ : Outcome::NotPossible;
}

} // namespace classxml::doctype_override
