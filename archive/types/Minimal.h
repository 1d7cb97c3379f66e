#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <type_traits>

#include "classxml/archive/detail/Archived.h"

// Types that are really one value (a temperature, an identifier, money in cents): a class that
// gives
//   template <class A> V save_minimal(const A&) const;
//   template <class A> void load_minimal(const A&, const V& value);
// (members, or free functions taking the object after the archive) is stored exactly as a
// member of its value type V is: one property element, whatever number, text, enum or DB_*
// type V is.
namespace classxml::archive_detail {

// Stands for any archive while the functions are looked for: they are templates on it.
struct AnyArchive {};

template <class T>
concept MemberMinimal = requires(const T& value, const AnyArchive& archive) {
    value.save_minimal(archive);
};
template <class T>
concept FreeMinimal = requires(const T& value, const AnyArchive& archive) {
    save_minimal(archive, value);
};

template <class Archive, class T>
auto SaveMinimal(const Archive& archive, const T& value) {
    if constexpr (MemberMinimal<T>)
        return value.save_minimal(archive);
    else
        return save_minimal(archive, value);
}

template <class Archive, class T, class V>
void LoadMinimal(const Archive& archive, T& value, const V& minimal) {
    if constexpr (requires { value.load_minimal(archive, minimal); })
        value.load_minimal(archive, minimal);
    else
        load_minimal(archive, value, minimal);
}

template <class T>
requires MemberMinimal<T> || FreeMinimal<T>
struct Archived<T> {
    using V = std::remove_cvref_t<decltype(SaveMinimal(AnyArchive{}, std::declval<const T&>()))>;
    static_assert(Archived<V>::shape == Shape::Value,
                  "save_minimal gives a number, text, enum or DB_* value");
    static constexpr Shape shape = Shape::Value;
    static std::string_view TypeText() { return Archived<V>::TypeText(); }

    template <class Out>
    static void Save(Out& ar, std::string_view name, std::size_t index, const T& value) {
        Archived<V>::Save(ar, name, index, SaveMinimal(ar, value));
    }
    template <class In>
    static void Load(In& ar, T& value) {
        V minimal{};
        Archived<V>::Load(ar, minimal);
        if (!ar.Reader().Failed()) LoadMinimal(ar, value, minimal);
    }
    template <class Dtd>
    static std::string Describe(Dtd& dtd, std::string_view name) {
        return Archived<V>::Describe(dtd, name);
    }
};

} // namespace classxml::archive_detail
