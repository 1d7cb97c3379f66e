#pragma once

#include <string_view>

/// @file
/// How a serialize function names what it archives: members by name, and base classes.

/// @ingroup archive
/// A member under its own name: `ar(CLASSXML_NVP(id))` is `ar("id", id)`. Only a plain member
/// name will do (`CLASSXML_NVP(p.name)` does not compile): name others with `ar("name", value)`.
#define CLASSXML_NVP(member)                                                                       \
    ::classxml::NameValue(::classxml::archive_detail::PlainName(#member), member)

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
/// The members of a base class, saved and loaded within the derived class's element:
/// `ar(classxml::BaseClass<Base>(this), CLASSXML_NVP(x))`.
template <class Base>
struct BaseClass {
    /// From `this` of the derived class, in serialize, save or load.
    explicit BaseClass(const Base* self) : object(const_cast<Base*>(self)) {}
    Base* object; ///< the base part of the object
};

namespace archive_detail {

// The text of CLASSXML_NVP's argument, refused at compile time unless it is one identifier.
consteval std::string_view PlainName(std::string_view name) {
    bool plain = !name.empty() && !(name[0] >= '0' && name[0] <= '9');
    for (const char c : name)
        plain = plain && ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                          (c >= '0' && c <= '9') || c == '_');
    if (!plain)
        throw "CLASSXML_NVP takes a plain member name; name others with ar(\"name\", value)";
    return name;
}

} // namespace archive_detail
} // namespace classxml
