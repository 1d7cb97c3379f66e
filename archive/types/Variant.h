#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <variant>

#include "classxml/archive/detail/Archived.h"
#include "classxml/archive/detail/Dtd.h"

// A variant, as the class element "variant" whose attribute "varindex" says which alternative
// it holds, with that alternative as its one item (none for std::monostate): it comes back
// holding the same alternative, whatever the alternatives' texts.
namespace classxml::archive_detail {

template <class... Alternatives>
struct Archived<std::variant<Alternatives...>> {
    using T = std::variant<Alternatives...>;
    static constexpr Shape shape = Shape::Class;
    static std::string_view TypeText() { return TypeTextOr<T>("variant"); }
    static constexpr std::string_view kIndex = "varindex";

    template <class Out>
    static void Save(Out& ar, std::string_view name, std::size_t index, const T& variant) {
        const std::string alternative = std::to_string(variant.index());
        ar.Writer().BeginClass(TypeText(), index ? std::string_view() : name, index,
                               {kIndex, alternative});
        std::visit(
            [&](const auto& held) {
                if constexpr (!std::is_same_v<std::decay_t<decltype(held)>, std::monostate>)
                    ar.Put("item", held, 1);
            },
            variant);
        ar.Writer().End();
    }

    template <class In>
    static void Load(In& ar, T& variant) {
        auto& reader = ar.Reader();
        if (!reader.IsClass(TypeText())) return;
        const std::string text = reader.Attribute(kIndex).value_or(std::string());
        std::size_t alternative = sizeof...(Alternatives);
        for (std::size_t i = 0; i < sizeof...(Alternatives); ++i)
            if (text == std::to_string(i)) alternative = i;
        if (alternative == sizeof...(Alternatives))
            return (void)reader.Fail("an alternative from 0 to " +
                                         std::to_string(sizeof...(Alternatives) - 1),
                                     '"' + text + '"');
        LoadAlternative(ar, variant, alternative, std::index_sequence_for<Alternatives...>());
    }

    template <class Dtd>
    static std::string Describe(Dtd& dtd, std::string_view) {
        const std::string element(TypeText());
        std::vector<std::string> held;
        bool none = false;
        const auto alternative = [&]<class Held>(Held*) {
            if constexpr (std::is_same_v<Held, std::monostate>)
                none = true;
            else
                held.push_back(dtd.template Element<Held>("item"));
        };
        (alternative(static_cast<Alternatives*>(nullptr)), ...);
        dtd.Declarations().Declare(element, ChoiceModel(held, none), {kIndex, "varname"});
        return element;
    }

private:
    template <class In, std::size_t... Indices>
    static void LoadAlternative(In& ar, T& variant, std::size_t alternative,
                                std::index_sequence<Indices...>) {
        (void)((Indices == alternative ? (LoadHeld<Indices>(ar, variant), true) : false) || ...);
    }

    template <std::size_t Index, class In>
    static void LoadHeld(In& ar, T& variant) {
        using Held = std::variant_alternative_t<Index, T>;
        auto& reader = ar.Reader();
        if constexpr (std::is_same_v<Held, std::monostate>) {
            variant.template emplace<Index>();
        } else if (reader.FirstItem()) {
            ar.Here(variant.template emplace<Index>());
            if (reader.NextItem()) reader.Fail("one alternative", "more");
        } else {
            reader.Fail("the alternative it holds", "none");
        }
    }
};

} // namespace classxml::archive_detail
