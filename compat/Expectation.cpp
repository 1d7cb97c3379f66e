#include "classxml/compat/Expectation.h"

#include <algorithm>

#include "classxml/compat/ContentLanguage.h"

namespace classxml::compat {
namespace {

using dtd_declarations::Element;
using dtd_declarations::Particle;

// Reads one particle of the parser's model text from `at`.
class ModelParser {
public:
    explicit ModelParser(std::string_view text) : m_text(text) {}

    std::optional<Particle> Whole() {
        auto particle = Read(0);
        if (!particle || m_at != m_text.size()) return std::nullopt;
        return particle;
    }

private:
    static constexpr int kDeepest = 256;

    std::optional<Particle> Read(int depth) {
        if (depth > kDeepest || m_at >= m_text.size()) return std::nullopt;
        Particle particle;
        if (m_text[m_at] == '(') {
            ++m_at;
            char separator = 0;
            for (;;) {
                auto item = Read(depth + 1);
                if (!item) return std::nullopt;
                particle.items.push_back(std::move(*item));
                if (m_at >= m_text.size()) return std::nullopt;
                const char next = m_text[m_at++];
                if (next == ')') break;
                if ((next != ',' && next != '|') || (separator && next != separator))
                    return std::nullopt;
                separator = next;
            }
            particle.kind = separator == '|' ? Particle::Kind::Choice : Particle::Kind::Sequence;
        } else {
            const std::size_t end = m_text.find_first_of("(),|?*+", m_at);
            particle.name = std::string(m_text.substr(m_at, end - m_at));
            if (particle.name.empty()) return std::nullopt;
            m_at = std::min(end, m_text.size());
        }
        if (m_at < m_text.size() &&
            std::string_view("?*+").find(m_text[m_at]) != std::string_view::npos)
            particle.repeat = m_text[m_at++];
        return particle;
    }

    std::string_view m_text;
    std::size_t m_at = 0;
};

std::string Listed(const std::vector<std::string>& names) {
    std::string text;
    for (std::size_t i = 0; i < names.size(); ++i)
        text += (i == 0 ? "" : i + 1 == names.size() ? " or " : ", ") + names[i];
    return text;
}

} // namespace

std::optional<Particle> ParseModel(std::string_view text) { return ModelParser(text).Whole(); }

std::string Expectation(std::string_view element, const Particle& model,
                        const ChildRuns& children) {
    Names names;
    Element declared;
    declared.name = element;
    declared.content = Element::Content::Children;
    declared.model = model;
    const ContentLanguage language = ContentLanguage::Of(declared, {}, names);
    const auto expected = [&](const ContentLanguage::States& states, const std::string& found) {
        std::vector<std::string> listed;
        for (const int name : language.Next(states))
            if (names.Name(name) != "#PCDATA") listed.push_back(names.Name(name));
        if (language.Accepts(states)) listed.push_back("the end of " + std::string(element));
        return "Expected " + Listed(listed) + ", found " + found;
    };
    auto states = language.Start();
    for (const auto& [name, count] : children) {
        const int id = names.Id(name);
        for (std::size_t i = 0; i < count; ++i) {
            auto next = language.Step(states, id);
            if (next.empty()) return expected(states, name);
            if (next == states) break; // a run the model repeats: the rest goes the same way
            states = std::move(next);
        }
    }
    if (language.Accepts(states)) return {};
    return expected(states, "the end of " + std::string(element));
}

} // namespace classxml::compat
