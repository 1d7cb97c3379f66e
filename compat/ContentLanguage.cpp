#include "classxml/compat/ContentLanguage.h"

#include <algorithm>
#include <deque>
#include <stdexcept>

namespace classxml::compat {

using dtd_declarations::Element;
using dtd_declarations::Particle;

int Names::Id(const std::string& name) {
    const auto [at, added] = m_ids.emplace(name, int(m_names.size()));
    if (added) m_names.push_back(name);
    return at->second;
}

int ContentLanguage::NewState() {
    m_moves.emplace_back();
    return int(m_moves.size()) - 1;
}

// A piece of automaton for `particle`: its entry and exit state. Each piece gets states of its
// own, so that the empty moves of a repeat never join two pieces.
std::pair<int, int> ContentLanguage::Build(const Particle& particle, Names& names) {
    const int in = NewState(), out = NewState();
    if (particle.kind == Particle::Kind::Name) {
        m_moves[std::size_t(in)].push_back({names.Id(particle.name), out});
    } else if (particle.kind == Particle::Kind::Choice) {
        for (const Particle& item : particle.items) {
            const auto [itemIn, itemOut] = Build(item, names);
            m_moves[std::size_t(in)].push_back({-1, itemIn});
            m_moves[std::size_t(itemOut)].push_back({-1, out});
        }
    } else {
        int last = in;
        for (const Particle& item : particle.items) {
            const auto [itemIn, itemOut] = Build(item, names);
            m_moves[std::size_t(last)].push_back({-1, itemIn});
            last = itemOut;
        }
        m_moves[std::size_t(last)].push_back({-1, out});
    }
    if (particle.repeat == '?' || particle.repeat == '*')
        m_moves[std::size_t(in)].push_back({-1, out});
    if (particle.repeat == '*' || particle.repeat == '+')
        m_moves[std::size_t(out)].push_back({-1, in});
    return {in, out};
}

ContentLanguage ContentLanguage::Of(const Element& element,
                                    const std::vector<std::string>& anyNames, Names& names) {
    ContentLanguage language;
    const int start = language.NewState();
    if (element.content == Element::Content::Children) {
        const auto [in, out] = language.Build(element.model, names);
        language.m_moves[std::size_t(start)].push_back({-1, in});
        language.m_accept = out;
        return language;
    }
    language.m_accept = start;
    if (element.content == Element::Content::Empty) return language;
    for (const std::string& name :
         element.content == Element::Content::Any ? anyNames : element.mixed)
        language.m_moves[std::size_t(start)].push_back({names.Id(name), start});
    return language;
}

ContentLanguage::States ContentLanguage::Closure(States states) const {
    std::vector<bool> seen(m_moves.size());
    for (const int state : states)
        seen[std::size_t(state)] = true;
    for (std::size_t next = 0; next < states.size(); ++next)
        for (const Move& move : m_moves[std::size_t(states[next])])
            if (move.name < 0 && !seen[std::size_t(move.to)]) {
                seen[std::size_t(move.to)] = true;
                states.push_back(move.to);
            }
    std::sort(states.begin(), states.end());
    return states;
}

ContentLanguage::States ContentLanguage::Step(const States& from, int name) const {
    States to;
    for (const int state : from)
        for (const Move& move : m_moves[std::size_t(state)])
            if (move.name == name) to.push_back(move.to);
    return Closure(std::move(to));
}

bool ContentLanguage::Accepts(const States& states) const {
    return std::binary_search(states.begin(), states.end(), m_accept);
}

std::vector<int> ContentLanguage::Next(const States& states) const {
    std::vector<int> names;
    for (const int state : states)
        for (const Move& move : m_moves[std::size_t(state)])
            if (move.name >= 0) names.push_back(move.name);
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return names;
}

// Breadth first over pairs of state sets, so that the first difference found is a shortest one.
std::optional<std::vector<int>>
ContentLanguage::ShortestDifference(const ContentLanguage& accepted, const ContentLanguage* refused,
                                    const std::function<bool(int)>& usable) {
    constexpr std::size_t kMostPairs = 200000;
    struct Visit {
        States left, right;
        std::size_t parent;
        int name;
    };
    std::vector<Visit> visits;
    std::map<std::pair<States, States>, std::size_t> seen;
    const auto differs = [&](const Visit& visit) {
        return accepted.Accepts(visit.left) && !(refused && refused->Accepts(visit.right));
    };
    visits.push_back({accepted.Start(), refused ? refused->Start() : States{}, 0, -1});
    seen.emplace(std::pair(visits[0].left, visits[0].right), 0);
    for (std::size_t at = 0; at < visits.size(); ++at) {
        if (differs(visits[at])) {
            std::vector<int> path;
            for (std::size_t step = at; step != 0; step = visits[step].parent)
                path.push_back(visits[step].name);
            std::reverse(path.begin(), path.end());
            return path;
        }
        for (const int name : accepted.Next(visits[at].left)) {
            if (!usable(name)) continue;
            Visit visit{accepted.Step(visits[at].left, name),
                        refused ? refused->Step(visits[at].right, name) : States{}, at, name};
            if (!seen.emplace(std::pair(visit.left, visit.right), visits.size()).second) continue;
            if (visits.size() == kMostPairs)
                throw std::length_error("content models too large to compare");
            visits.push_back(std::move(visit));
        }
    }
    return std::nullopt;
}

} // namespace classxml::compat
