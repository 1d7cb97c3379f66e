#pragma once

#include <concepts>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "classxml/DatabaseTypes.h"
#include "classxml/platform/Export.h"
#include "classxml/valuetext/Families.h"

namespace classxml {

/// @ingroup archive
/// The type text an archive writes into `keytype` for values of `T`, and the element name of a
/// class `T`. Specialise it with a `static constexpr std::string_view value` to choose another.
/// Defaults: "int" for signed integers up to 32 bits, "__int64" for 64-bit ones, "UINT" and
/// "DWORD64" for unsigned ones, "bool", "double" (float too), "CUTF8String" for std::string,
/// "AlpTString" for std::u16string, the type's own name for DB_ID and the other named types,
/// and the unqualified C++ name for classes and named enums.
template <class T>
struct TypeText;

/// @ingroup archive
/// Enumerators written by name: specialise with a `static constexpr std::pair<E, std::string_view>
/// names[]`. An enum without it is written as its number.
template <class E>
struct EnumNames;

namespace archive_detail {

template <class T>
concept HasTypeText = requires {
    std::string_view(TypeText<T>::value);
};
template <class E>
concept HasEnumNames = std::is_enum_v<E> && requires {
    EnumNames<E>::names[0].second;
};

// A valid XML name from a compiler's spelling of a type: the last component of its qualified
// name, with the characters of template arguments turned into underscores.
CLASSXML_API std::string ElementNameOf(std::string_view compilerName);

template <class T>
std::string_view CompilerName() {
#if defined(_MSC_VER) && !defined(__clang__)
    constexpr std::string_view function = __FUNCSIG__;
    constexpr std::string_view start = "CompilerName<", end = ">(void)";
#else
    constexpr std::string_view function = __PRETTY_FUNCTION__;
    constexpr std::string_view start = "T = ", end = "]";
#endif
    const std::size_t from = function.find(start) + start.size();
    std::size_t to = function.find(';', from); // GCC lists its aliases after a semicolon
    if (to == std::string_view::npos) to = function.rfind(end);
    return function.substr(from, to - from);
}

template <class T>
constexpr std::string_view DefaultTypeText() {
    if constexpr (value_text::Family<T>)
        return value_text::kFamilyText<T>;
    else if constexpr (std::is_arithmetic_v<T> || (std::is_enum_v<T> && !HasEnumNames<T>))
        return value_text::kFamilyText<value_text::FamilyOf<T>>;
    else if constexpr (std::same_as<T, std::string>)
        return "CUTF8String";
    else if constexpr (std::same_as<T, std::u16string>)
        return "AlpTString";
    else
        return {};
}

// The text for `T`: the trait's when given, otherwise the default, otherwise (classes, named
// enums) the element name made from the compiler's name.
template <class T>
std::string_view TypeTextOf() {
    if constexpr (HasTypeText<T>) {
        return TypeText<T>::value;
    } else if constexpr (!DefaultTypeText<T>().empty()) {
        return DefaultTypeText<T>();
    } else {
        static const std::string name = ElementNameOf(CompilerName<T>());
        return name;
    }
}

// The type text of a family's type: the trait's when given, otherwise the family's own.
template <class T>
std::string_view TypeTextOr(std::string_view own) {
    if constexpr (HasTypeText<T>)
        return TypeText<T>::value;
    else
        return own;
}

} // namespace archive_detail
} // namespace classxml
