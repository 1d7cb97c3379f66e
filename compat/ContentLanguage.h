#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "classxml/xmlio/DtdDeclarations.h"

// What an element may hold, as a language over the names of its children: an automaton built
// from the content model, and the questions compat asks of two of them.
namespace classxml::compat {

// The names of two DTDs as small numbers, shared so that their automata can be compared.
class Names {
public:
    int Id(const std::string& name);
    const std::string& Name(int id) const { return m_names[std::size_t(id)]; }

private:
    std::map<std::string, int> m_ids;
    std::vector<std::string> m_names;
};

// A nondeterministic automaton with empty moves; state 0 is the start.
class ContentLanguage {
public:
    // The language of an element's declaration: EMPTY takes only the empty sequence, ANY and
    // mixed content any sequence of `anyNames` or of their listed names, children their model.
    static ContentLanguage Of(const dtd_declarations::Element& element,
                              const std::vector<std::string>& anyNames, Names& names);

    // The shortest sequence of names that `accepted` takes and `refused` does not (or, without
    // `refused`, that `accepted` takes), using only names for which `usable` is true; nothing
    // when there is none. Throws std::length_error when the search outgrows a bound that no
    // content model a person writes comes near.
    static std::optional<std::vector<int>>
    ShortestDifference(const ContentLanguage& accepted, const ContentLanguage* refused,
                       const std::function<bool(int)>& usable);

    // A walk along a sequence of names: where it stands is a set of states, empty once the
    // sequence has left the language.
    using States = std::vector<int>; // sorted, closed under empty moves
    States Start() const { return Closure({0}); }
    States Step(const States& from, int name) const;
    bool Accepts(const States& states) const;
    // The names that may come next.
    std::vector<int> Next(const States& states) const;

private:
    struct Move {
        int name; // -1 for an empty move
        int to;
    };

    int NewState();
    std::pair<int, int> Build(const dtd_declarations::Particle& particle, Names& names);
    States Closure(States states) const;

    std::vector<std::vector<Move>> m_moves;
    int m_accept = 0;
};

} // namespace classxml::compat
