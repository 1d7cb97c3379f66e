#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "classxml/archive/detail/Archived.h"
#include "classxml/archive/detail/Dtd.h"

// std::optional. A member is its value's element when it holds one and absent when it is empty,
// and comes back empty when its element is absent. An item of a container, whose place must be
// kept, is the class element "optional" holding its value as its one item, or nothing.
namespace classxml::archive_detail {

template <class T>
struct Archived<std::optional<T>> {
    static constexpr Shape shape = Shape::Class;
    static constexpr bool kMemberForm = true;
    static std::string_view TypeText() { return TypeTextOr<std::optional<T>>("optional"); }

    template <class Out>
    static void SaveMember(Out& ar, std::string_view name, const std::optional<T>& value) {
        if (value) ar.Put(name, *value, 0);
    }
    template <class In>
    static void LoadMember(In& ar, std::string_view name, std::optional<T>& value) {
        if (!ar.template HasMember<T>(name)) return value.reset();
        ar.Member(name, value.emplace());
    }
    template <class Dtd>
    static Particle DescribeMember(Dtd& dtd, std::string_view name) {
        return {dtd.template Element<T>(name), true};
    }

    template <class Out>
    static void Save(Out& ar, std::string_view name, std::size_t index,
                     const std::optional<T>& value) {
        ar.Writer().BeginClass(TypeText(), index ? std::string_view() : name, index);
        if (value) ar.Put("item", *value, 1);
        ar.Writer().End();
    }
    template <class In>
    static void Load(In& ar, std::optional<T>& value) {
        auto& reader = ar.Reader();
        if (!reader.IsClass(TypeText())) return;
        if (!reader.FirstItem()) return value.reset();
        ar.Here(value.emplace());
        if (reader.NextItem()) reader.Fail("one value", "more");
    }
    template <class Dtd>
    static std::string Describe(Dtd& dtd, std::string_view) {
        const std::string element(TypeText());
        dtd.Declarations().Declare(element, ChoiceModel({dtd.template Element<T>("item")}, true),
                                   {"varname"});
        return element;
    }
};

} // namespace classxml::archive_detail
