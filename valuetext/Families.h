#pragma once

#include <concepts>
#include <cstdint>
#include <type_traits>
#include <variant>

#include "classxml/DatabaseTypes.h"

// The value families: every type a property element holds as the text of one value, with the
// type text that names it. Whatever is written once per family (a reader's and a writer's
// overloads, their definitions, the archive's type texts) is expanded from this one list:
// CLASSXML_VALUE_FAMILIES(X) calls X(Type, "type text") once per family, in this order.
#define CLASSXML_VALUE_FAMILIES(X)                                                                 \
    X(std::int32_t, "int")                                                                         \
    X(std::int64_t, "__int64")                                                                     \
    X(std::uint32_t, "UINT")                                                                       \
    X(std::uint64_t, "DWORD64")                                                                    \
    X(bool, "bool")                                                                                \
    X(double, "double")                                                                            \
    X(DB_ID, "DB_ID")                                                                              \
    X(DB_GROUP_ID, "DB_GROUP_ID")                                                                  \
    X(DB_USER_ID, "DB_USER_ID")                                                                    \
    X(DB_TIME_TYPE, "DB_TIME_TYPE")                                                                \
    X(DB_UTC_TIME_TYPE, "DB_UTC_TIME_TYPE")                                                        \
    X(DB_VERSIONNUMBER, "DB_VERSIONNUMBER")

namespace classxml::value_text {

/// @cond INTERNAL
#define CLASSXML_FAMILY_ALTERNATIVE(Type, Text) Type,
// A value of any family (or none).
using AnyFamily = std::variant<CLASSXML_VALUE_FAMILIES(CLASSXML_FAMILY_ALTERNATIVE) std::monostate>;
#undef CLASSXML_FAMILY_ALTERNATIVE

// The type text of each family.
template <class Family>
inline constexpr const char* kFamilyText = nullptr;
#define CLASSXML_FAMILY_TEXT(Type, Text)                                                           \
    template <>                                                                                    \
    inline constexpr const char* kFamilyText<Type> = Text;
CLASSXML_VALUE_FAMILIES(CLASSXML_FAMILY_TEXT)
#undef CLASSXML_FAMILY_TEXT

// `T` is one of the families.
template <class T>
concept Family = kFamilyText<T>
!= nullptr;

// The family an arithmetic type (or an enum, by its underlying type) is written in: integers by
// their signedness and width, floating types as double.
template <class T>
auto FamilyValueOf(T value) {
    if constexpr (std::is_enum_v<T>)
        return FamilyValueOf(static_cast<std::underlying_type_t<T>>(value));
    else if constexpr (std::same_as<T, bool>)
        return value;
    else if constexpr (std::floating_point<T>)
        return double(value);
    else if constexpr (std::signed_integral<T>)
        return std::conditional_t<sizeof(T) <= 4, std::int32_t, std::int64_t>(value);
    else
        return std::conditional_t<sizeof(T) <= 4, std::uint32_t, std::uint64_t>(value);
}
template <class T>
using FamilyOf = decltype(FamilyValueOf(T()));
/// @endcond

} // namespace classxml::value_text
