#pragma once

#include <cstddef>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "classxml/archive/detail/Archived.h"
#include "classxml/archive/detail/Dtd.h"

// Pairs and tuples, as class elements: a pair is "pair" with the members "first" and "second";
// a tuple is "tuple" with one "item" per element, in order (a class element by its type).
namespace classxml::archive_detail {

template <class First, class Second>
struct Archived<std::pair<First, Second>> {
    using T = std::pair<First, Second>;
    static constexpr Shape shape = Shape::Class;
    static std::string_view TypeText() { return TypeTextOr<T>("pair"); }

    template <class Out>
    static void Save(Out& ar, std::string_view name, std::size_t index, const T& pair) {
        ar.Writer().BeginClass(TypeText(), index ? std::string_view() : name, index);
        ar.Put("first", pair.first, 0);
        ar.Put("second", pair.second, 0);
        ar.Writer().End();
    }
    template <class In>
    static void Load(In& ar, T& pair) {
        if (!ar.Reader().IsClass(TypeText())) return;
        ar.Member("first", pair.first);
        ar.Member("second", pair.second);
    }
    template <class Dtd>
    static std::string Describe(Dtd& dtd, std::string_view) {
        const std::string element(TypeText());
        dtd.Declarations().Declare(element,
                                   "(" + dtd.template Element<First>("first") + ", " +
                                       dtd.template Element<Second>("second") + ")",
                                   {"varname"});
        return element;
    }
};

template <class... Elements>
struct Archived<std::tuple<Elements...>> {
    using T = std::tuple<Elements...>;
    static constexpr Shape shape = Shape::Class;
    static std::string_view TypeText() { return TypeTextOr<T>("tuple"); }

    template <class Out>
    static void Save(Out& ar, std::string_view name, std::size_t index, const T& tuple) {
        ar.Writer().BeginClass(TypeText(), index ? std::string_view() : name, index);
        std::size_t place = 0;
        std::apply([&](const Elements&... elements) { (ar.Put("item", elements, ++place), ...); },
                   tuple);
        ar.Writer().End();
    }
    template <class In>
    static void Load(In& ar, T& tuple) {
        auto& reader = ar.Reader();
        if (!reader.IsClass(TypeText())) return;
        bool more = reader.FirstItem();
        const auto item = [&](auto& element) {
            if (!more) return (void)reader.Fail(Count(), "fewer");
            ar.Here(element);
            more = reader.NextItem();
        };
        std::apply([&](Elements&... elements) { (item(elements), ...); }, tuple);
        if (more) reader.Fail(Count(), "more");
    }

    template <class Dtd>
    static std::string Describe(Dtd& dtd, std::string_view) {
        const std::string element(TypeText());
        std::vector<Particle> items;
        (items.push_back({dtd.template Element<Elements>("item")}), ...);
        dtd.Declarations().Declare(element, SequenceModel(items), {"varname"});
        return element;
    }

private:
    static std::string Count() { return std::to_string(sizeof...(Elements)) + " items"; }
};

} // namespace classxml::archive_detail
