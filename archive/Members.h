#pragma once

#include <array>
#include <cstddef>
#include <string_view>

/// @file
/// How a serialize function names what it archives: members by name, and base classes.

/// @ingroup archive
/// A member under its own name: `ar(CLASSXML_NVP(id))` is `ar("id", id)`, and in a free
/// function `CLASSXML_NVP(p.id)` and `CLASSXML_NVP(p->id)` are `ar("id", p.id)`. Anything else
/// does not compile: name it with `ar("name", value)`.
#define CLASSXML_NVP(member)                                                                       \
    ::classxml::NameValue(::classxml::archive_detail::MemberName(#member), member)

namespace classxml {

/// @ingroup archive
/// A member and the name it is stored under; made by CLASSXML_NVP.
template <class T>
struct NameValue {
    /// `value` under `name`.
    NameValue(std::string_view name, T& value) : name(name), value(value) {}
    std::string_view name; ///< the element's name
    T& value;              ///< the member
};
/// @cond INTERNAL
template <class T>
NameValue(std::string_view, T&) -> NameValue<T>;
/// @endcond

/// @ingroup archive
/// A member with rules for reading files of older releases: made by Optional and OldName, and
/// always written as the member under its own name.
template <class T, std::size_t OldNames = 0>
struct MemberRules {
    NameValue<T> member;                             ///< the member and its name
    bool optional = false;                           ///< may be absent from a file
    std::array<std::string_view, OldNames> oldNames; ///< names it was written under before
};

/// @ingroup archive
/// A member that may be absent from a file: `ar(classxml::Optional(CLASSXML_NVP(retries)))`.
/// Absent, it keeps the value it had; present, it is read as any member is, and a malformed
/// value is still an error.
///@{
template <class T>
MemberRules<T> Optional(NameValue<T> member) {
    return {member, true, {}};
}
template <class T, std::size_t N>
MemberRules<T, N> Optional(MemberRules<T, N> rules) {
    rules.optional = true;
    return rules;
}
///@}

/// @ingroup archive
/// A member renamed: `ar(classxml::OldName("name", CLASSXML_NVP(title)))` reads it from an
/// element of its new name or of its old one, and writes it under the new name. Nest it for
/// several old names.
///@{
template <class T>
MemberRules<T, 1> OldName(std::string_view oldName, NameValue<T> member) {
    return {member, false, {oldName}};
}
template <class T, std::size_t N>
MemberRules<T, N + 1> OldName(std::string_view oldName, const MemberRules<T, N>& rules) {
    MemberRules<T, N + 1> renamed{rules.member, rules.optional, {}};
    for (std::size_t i = 0; i < N; ++i)
        renamed.oldNames[i] = rules.oldNames[i];
    renamed.oldNames[N] = oldName;
    return renamed;
}
///@}

/// @ingroup archive
/// The members of a base class, saved and loaded within the derived class's element:
/// `ar(classxml::BaseClass<Base>(this), CLASSXML_NVP(x))`.
template <class Base>
struct BaseClass {
    /// From `this` of the derived class, in serialize, save or load.
    explicit BaseClass(const Base* self) : object(const_cast<Base*>(self)) {}
    Base* object; ///< the base part of the object
};

namespace archive_detail {

// The name CLASSXML_NVP gives its argument: an identifier, or the last of identifiers joined
// by "." or "->"; anything else is refused at compile time.
consteval std::string_view MemberName(std::string_view text) {
    const auto identifier = [](std::string_view name) {
        bool plain = !name.empty() && !(name[0] >= '0' && name[0] <= '9');
        for (const char c : name)
            plain = plain && ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                              (c >= '0' && c <= '9') || c == '_');
        return plain;
    };
    std::size_t start = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const std::size_t joint = text[at] == '.' ? 1 : text.substr(at, 2) == "->" ? 2 : 0;
        if (joint == 0) continue;
        if (!identifier(text.substr(start, at - start))) break;
        start = at + joint;
        at = start - 1;
    }
    const std::string_view name = text.substr(start);
    if (!identifier(name))
        throw "CLASSXML_NVP takes a member name (or p.name, p->name); name others with "
              "ar(\"name\", value)";
    return name;
}

} // namespace archive_detail
} // namespace classxml
