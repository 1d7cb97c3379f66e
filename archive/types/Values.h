#pragma once

#include <charconv>
#include <cmath>
#include <concepts>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <type_traits>

#include "classxml/DatabaseTypes.h"
#include "classxml/archive/detail/Archived.h"

// Numbers (bool, integers, floating types), enums (by name where EnumNames gives a table,
// otherwise as numbers), text (std::string in UTF-8, std::u16string) and the DB_* types: a
// property element each, its text the value's, through the handle's one conversion per family.
namespace classxml::archive_detail {

// The value an integer or enum is written as, in its family.
template <class T>
auto AsNumber(T value) {
    return value_text::FamilyValueOf(value);
}

// Whether a number read in its family's width fits the member's own type: an integer exactly,
// a floating value within its range (rounding to a float's precision is no error).
template <class T, class Number>
bool Fits(Number number) {
    if constexpr (std::floating_point<T>)
        return !std::isfinite(number) || std::fabs(number) <= double(std::numeric_limits<T>::max());
    else
        return AsNumber(static_cast<T>(number)) == number;
}

template <class Number>
std::string NumberText(Number number) {
    if constexpr (std::floating_point<Number>) {
        char text[32];
        return std::string(text, std::to_chars(text, text + sizeof text, number).ptr);
    } else {
        return std::to_string(number);
    }
}

template <class T>
concept Number = std::is_arithmetic_v<T> ||(std::is_enum_v<T> && !HasEnumNames<T>);
template <class T>
concept Text = std::same_as<T, std::string> || std::same_as<T, std::u16string>;
template <class T>
concept DatabaseValue = value_text::Family<T> && !std::is_arithmetic_v<T>;

// What every value family shares: a property element, its keytype the type's text.
template <class T>
struct ArchivedValue {
    static constexpr Shape shape = Shape::Value;
    static std::string_view TypeText() { return TypeTextOf<T>(); }
    template <class Dtd>
    static std::string Describe(Dtd& dtd, std::string_view name) {
        dtd.Declarations().Declare(name, "(#PCDATA)", {"keytype"});
        return std::string(name);
    }
};

template <Number T>
struct Archived<T> : ArchivedValue<T> {
    template <class Out>
    static void Save(Out& ar, std::string_view name, std::size_t, const T& value) {
        ar.Writer().Write(name, TypeTextOf<T>(), AsNumber(value));
    }
    template <class In>
    static void Load(In& ar, T& value) {
        decltype(AsNumber(value)) number{};
        if (!ar.Reader().Read(TypeTextOf<T>(), number)) return;
        if (!Fits<T>(number))
            return (void)ar.Reader().Fail(std::string(TypeTextOf<T>()), NumberText(number));
        value = static_cast<T>(number);
    }
};

template <class E>
requires HasEnumNames<E>
struct Archived<E> : ArchivedValue<E> {
    template <class Out>
    static void Save(Out& ar, std::string_view name, std::size_t, const E& value) {
        const std::string_view type = TypeTextOf<E>();
        for (const auto& [enumerator, text] : EnumNames<E>::names)
            if (enumerator == value) return ar.Writer().WriteEnumerator(name, type, text);
        ar.Writer().Refuse(name, "an enumerator of " + std::string(type),
                           std::to_string(static_cast<long long>(value)));
    }
    template <class In>
    static void Load(In& ar, E& value) {
        const std::string_view type = TypeTextOf<E>();
        std::string text;
        if (!ar.Reader().Read(type, text)) return;
        for (const auto& [enumerator, name] : EnumNames<E>::names)
            if (name == text) return (void)(value = enumerator);
        ar.Reader().Fail("an enumerator of " + std::string(type), '"' + text + '"');
    }
};

template <class T>
requires Text<T> || DatabaseValue<T>
struct Archived<T> : ArchivedValue<T> {
    template <class Out>
    static void Save(Out& ar, std::string_view name, std::size_t, const T& value) {
        ar.Writer().Write(name, TypeTextOf<T>(), value);
    }
    template <class In>
    static void Load(In& ar, T& value) {
        ar.Reader().Read(TypeTextOf<T>(), value);
    }
};

} // namespace classxml::archive_detail
