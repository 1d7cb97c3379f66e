#include "classxml/compat/Compatibility.h"

#include <algorithm>
#include <map>
#include <optional>
#include <stdexcept>

#include "classxml/compat/AttributeValues.h"
#include "classxml/compat/ContentLanguage.h"

namespace classxml::compat {
namespace {

using dtd_declarations::Attribute;
using dtd_declarations::Declarations;
using dtd_declarations::Element;
using dtd_declarations::Particle;

// How much text an element may hold between its children: none (EMPTY), white space (element
// content), or any.
int TextAllowed(const Element& element) {
    switch (element.content) {
    case Element::Content::Empty:
        return 0;
    case Element::Content::Children:
        return 1;
    default:
        return 2;
    }
}

std::string Escaped(const std::string& value) {
    std::string out;
    for (const char c : value)
        out += c == '&' ? "&amp;" : c == '<' ? "&lt;" : c == '"' ? "&quot;" : std::string(1, c);
    return out;
}

// A value as the parser validates it: an attribute of any type but CDATA has its spaces
// collapsed and trimmed.
std::string Normalized(const Attribute& attribute) {
    if (attribute.type == Attribute::Type::CData) return attribute.value;
    std::string out;
    for (const char c : attribute.value)
        if (c != ' ' || (!out.empty() && out.back() != ' ')) out += c;
    if (!out.empty() && out.back() == ' ') out.pop_back();
    return out;
}

void Refuse(const Declarations& dtd) {
    if (dtd.generalEntities) throw std::invalid_argument("it declares general entities");
    if (dtd.notations) throw std::invalid_argument("it declares notations");
    for (const Element& element : dtd.elements)
        for (const Attribute& attribute : element.attributes) {
            const std::string named = "the attribute " + attribute.name + " of " + element.name;
            if (attribute.type == Attribute::Type::Entity ||
                attribute.type == Attribute::Type::Entities ||
                attribute.type == Attribute::Type::Notation)
                throw std::invalid_argument(named + " names entities or notations");
            // A default its own type refuses makes the DTD wrong: an element that leaves the
            // attribute out takes the default and is then refused.
            Attribute type = attribute;
            type.presence = Attribute::Presence::Implied;
            if ((attribute.presence == Attribute::Presence::Default ||
                 attribute.presence == Attribute::Presence::Fixed) &&
                !Takes(type, Normalized(attribute)))
                throw std::invalid_argument(named + " has a default its type refuses: \"" +
                                            attribute.value + "\"");
        }
}

// One DTD with its languages, and the smallest instance of each element it can make.
class Model {
public:
    Model(const Declarations& dtd, Names& names) : m_names(names) {
        std::vector<std::string> all;
        for (const Element& element : dtd.elements)
            all.push_back(element.name);
        for (const Element& element : dtd.elements) {
            const int id = names.Id(element.name);
            m_elements.emplace(id, &element);
            m_languages.emplace(id, ContentLanguage::Of(element, all, names));
        }
    }

    const Element* Find(const std::string& name) const { return Find(m_names.Id(name)); }
    const Element* Find(int id) const {
        const auto found = m_elements.find(id);
        return found == m_elements.end() ? nullptr : found->second;
    }
    const ContentLanguage& Language(int id) const { return m_languages.at(id); }

    // The children of each element's smallest instance, found from the leaves up: a round
    // settles every element whose shortest content needs only elements settled before it.
    void FindSmallestInstances() {
        for (bool grew = true; grew;) {
            grew = false;
            for (const auto& [id, element] : m_elements) {
                if (m_smallest.count(id)) continue;
                auto children = ContentLanguage::ShortestDifference(
                    Language(id), nullptr, [&](int child) { return Instantiable(child); });
                if (children) m_smallest.emplace(id, std::move(*children)), grew = true;
            }
        }
    }
    bool Instantiable(int id) const { return m_smallest.count(id) != 0; }
    const std::vector<int>& SmallestChildren(int id) const { return m_smallest.at(id); }

    // `element` with `children` (each its smallest instance), `text` before them, its required
    // attributes and `attribute` set to `value` (or left out, with an empty `attribute`).
    std::string Instance(const Element& element, const std::vector<int>& children,
                         const std::string& text = "", const std::string& attribute = "",
                         const std::optional<std::string>& value = std::nullopt) const {
        std::string out = "<" + element.name;
        for (const Attribute& declared : element.attributes)
            if (declared.name != attribute && declared.presence == Attribute::Presence::Required)
                out += " " + declared.name + "=\"" + Escaped(AnyValue(declared)) + "\"";
        if (value) out += " " + attribute + "=\"" + Escaped(*value) + "\"";
        if (children.empty() && text.empty()) return out + "/>";
        out += ">" + text;
        for (const int child : children) {
            out += Smallest(child);
            if (out.size() > kLongestExample)
                throw std::length_error("the smallest documents of " + element.name +
                                        " are too large to show");
        }
        return out + "</" + element.name + ">";
    }
    std::string Smallest(int id) const {
        const auto [at, added] = m_instances.emplace(id, std::string());
        if (added) at->second = Instance(*Find(id), m_smallest.at(id));
        return at->second;
    }

private:
    static constexpr std::size_t kLongestExample = 1 << 20;
    Names& m_names;
    std::map<int, const Element*> m_elements;
    std::map<int, ContentLanguage> m_languages;
    std::map<int, std::vector<int>> m_smallest;
    mutable std::map<int, std::string> m_instances;
};

const Attribute* FindAttribute(const Element& element, const std::string& name) {
    for (const Attribute& attribute : element.attributes)
        if (attribute.name == name) return &attribute;
    return nullptr;
}

bool IdKind(Attribute::Type type) {
    return type == Attribute::Type::Id || type == Attribute::Type::IdRef ||
           type == Attribute::Type::IdRefs;
}

void CompareAttributes(const Model& older, const Element& before, const Element& after, int id,
                       std::vector<Loss>& losses) {
    const std::vector<int>& children = older.SmallestChildren(id);
    for (const Attribute& old : before.attributes) {
        const Attribute* now = FindAttribute(after, old.name);
        const auto samples = Samples(old, now ? *now : Attribute{});
        if (samples.empty()) continue;
        if (!now) {
            losses.push_back(
                {before.name, "the attribute " + old.name + " is no longer declared", ""});
            losses.back().example = older.Instance(before, children, "", old.name, samples.front());
            continue;
        }
        const auto refused = std::find_if(samples.begin(), samples.end(),
                                          [&](const std::string& v) { return !Takes(*now, v); });
        if (refused != samples.end() || (IdKind(now->type) && now->type != old.type)) {
            const std::string value = refused != samples.end() ? *refused : samples.front();
            losses.push_back({before.name,
                              "the attribute " + old.name + " refuses the value \"" + value + "\"",
                              older.Instance(before, children, "", old.name, value)});
        }
    }
    for (const Attribute& now : after.attributes) {
        const Attribute* old = FindAttribute(before, now.name);
        if (now.presence == Attribute::Presence::Required &&
            !(old && old->presence == Attribute::Presence::Required))
            losses.push_back({before.name, "the attribute " + now.name + " is now required",
                              older.Instance(before, children, "", now.name)});
    }
}

} // namespace

std::vector<Loss> Compare(const Declarations& older, const Declarations& newer) {
    Refuse(older);
    Refuse(newer);
    Names names;
    Model before(older, names), after(newer, names);
    before.FindSmallestInstances();
    std::vector<Loss> losses;
    for (const Element& element : older.elements) {
        const int id = names.Id(element.name);
        if (!before.Instantiable(id)) continue; // no document holds it
        const Element* now = after.Find(id);
        if (!now) {
            losses.push_back({element.name, "no longer declared", before.Smallest(id)});
            continue;
        }
        const auto usable = [&](int child) { return before.Instantiable(child); };
        if (TextAllowed(element) > TextAllowed(*now)) {
            const bool anyText = TextAllowed(element) == 2;
            losses.push_back(
                {element.name,
                 anyText ? "text is refused" : "white space between its children is refused", ""});
            losses.back().example =
                before.Instance(element, anyText ? std::vector<int>{} : before.SmallestChildren(id),
                                anyText ? "x" : " ");
        }
        if (auto children = ContentLanguage::ShortestDifference(before.Language(id),
                                                                &after.Language(id), usable)) {
            std::string sequence;
            for (const int child : *children)
                sequence += (sequence.empty() ? "" : ", ") + names.Name(child);
            losses.push_back({element.name,
                              (children->empty() ? std::string("no children")
                                                 : "the children (" + sequence + ")") +
                                  " are refused; it now holds " + ModelText(*now),
                              before.Instance(element, *children)});
        }
        CompareAttributes(before, element, *now, id, losses);
    }
    return losses;
}

namespace {

std::string ParticleText(const Particle& particle, bool outer) {
    std::string text;
    if (particle.kind == Particle::Kind::Name) {
        text = particle.name;
    } else {
        const char* separator = particle.kind == Particle::Kind::Choice ? " | " : ", ";
        for (const Particle& item : particle.items)
            text += (text.empty() ? "" : separator) + ParticleText(item, false);
        text = "(" + text + ")";
    }
    if (outer && particle.kind == Particle::Kind::Name) text = "(" + text + ")";
    return particle.repeat == '1' ? text : text + particle.repeat;
}

} // namespace

std::string ModelText(const Element& element) {
    switch (element.content) {
    case Element::Content::Empty:
        return "EMPTY";
    case Element::Content::Any:
        return "ANY";
    case Element::Content::Mixed: {
        std::string text = "(#PCDATA";
        for (const std::string& name : element.mixed)
            text += " | " + name;
        return text + (element.mixed.empty() ? ")" : ")*");
    }
    default:
        return ParticleText(element.model, true);
    }
}

} // namespace classxml::compat
