#include "classxml/archive/detail/Dtd.h"

#include "classxml/archive/detail/ClassNames.h"

#include <algorithm>

#include "classxml/archive/detail/SaveFailure.h"
#include "classxml/platform/FileIO.h"
#include "classxml/platform/FileReplace.h"
#include "classxml/platform/Utf.h"

namespace classxml::archive_detail {
namespace {

// What a content model allows: character data, and which elements.
struct Allowed {
    bool text = false;
    std::set<std::string> elements;
};

// The content models here are written by this file: names and "#PCDATA" between the
// punctuation of groups.
Allowed AllowedBy(std::string_view model) {
    constexpr std::string_view kPunctuation = "()|,?*+ ";
    Allowed allowed;
    for (std::size_t at = model.find_first_not_of(kPunctuation); at != std::string_view::npos;) {
        const std::size_t end = std::min(model.find_first_of(kPunctuation, at), model.size());
        const std::string_view token = model.substr(at, end - at);
        if (token == "#PCDATA")
            allowed.text = true;
        else if (token != "EMPTY")
            allowed.elements.emplace(token);
        at = model.find_first_not_of(kPunctuation, end);
    }
    return allowed;
}

// One content model for an element that several do: the same when they agree, otherwise any
// of what each allows, in any order.
std::string UnionOf(const std::set<std::string>& models) {
    if (models.size() == 1) return *models.begin();
    Allowed all;
    for (const std::string& model : models) {
        const Allowed allowed = AllowedBy(model);
        all.text = all.text || allowed.text;
        all.elements.insert(allowed.elements.begin(), allowed.elements.end());
    }
    if (all.elements.empty()) return all.text ? "(#PCDATA)" : "EMPTY";
    std::string model = all.text ? "(#PCDATA" : "(";
    for (const std::string& element : all.elements)
        model += (model.size() > 1 ? " | " : "") + element;
    return model + ")*";
}

} // namespace

void DtdDeclarations::Declare(std::string_view element, std::string model,
                              std::initializer_list<std::string_view> attributes) {
    Element& declared = m_elements[std::string(element)];
    declared.models.insert(std::move(model));
    for (const std::string_view attribute : attributes)
        declared.attributes.emplace(attribute);
}

bool DtdDeclarations::Described(std::string_view element) {
    return !m_described.emplace(element).second;
}

bool DtdDeclarations::Described(std::string_view element, const std::type_info& type) {
    const auto [at, first] = m_classes.try_emplace(std::string(element), &type);
    if (!first && *at->second != type && m_conflict.empty()) {
        m_conflict = std::string(element);
        m_conflictingTypes = BothTypes(*at->second, type);
    }
    return Described(element);
}

std::string DtdDeclarations::Text(std::string_view root) const {
    std::string text = "<!-- Class XML whose root element is " + std::string(root) +
                       ", with every element it may hold. -->\n";
    const auto declare = [&](const std::string& name, const Element& element) {
        std::string model = UnionOf(element.models);
        if (name == root && !m_rootTail.empty())
            model =
                model == "EMPTY" ? "(" + m_rootTail + ")*" : "(" + model + ", " + m_rootTail + "*)";
        text += "<!ELEMENT " + name + " " + model + ">\n";
        if (element.attributes.empty()) return;
        text += "<!ATTLIST " + name;
        for (const std::string& attribute : element.attributes)
            text += " " + attribute + " CDATA #IMPLIED";
        text += ">\n";
    };
    if (const auto found = m_elements.find(root); found != m_elements.end())
        declare(found->first, found->second);
    for (const auto& [name, element] : m_elements)
        if (name != root) declare(name, element);
    return text;
}

std::string SequenceModel(const std::vector<Particle>& particles) {
    if (particles.empty()) return "EMPTY";
    // Ambiguous when an optional member and one that may come next are the same element.
    for (std::size_t i = 0; i < particles.size(); ++i) {
        if (!particles[i].optional) continue;
        for (std::size_t j = i + 1; j < particles.size(); ++j) {
            if (particles[j].element == particles[i].element) {
                std::set<std::string> any;
                for (const Particle& particle : particles)
                    any.insert(particle.element);
                std::string model = "(";
                for (const std::string& element : any)
                    model += (model.size() > 1 ? " | " : "") + element;
                return model + ")*";
            }
            if (!particles[j].optional) break;
        }
    }
    std::string model = "(";
    for (const Particle& particle : particles)
        model += (model.size() > 1 ? ", " : "") + particle.element + (particle.optional ? "?" : "");
    return model + ")";
}

void MergeOlderVersion(std::vector<Particle>& merged, const std::vector<Particle>& older) {
    const auto in = [](auto& particles, const std::string& element) {
        return std::find_if(particles.begin(), particles.end(),
                            [&](const Particle& particle) { return particle.element == element; });
    };
    for (Particle& particle : merged)
        if (in(older, particle.element) == older.end()) particle.optional = true;
    auto next = merged.begin(); // where a member only the older version has goes
    for (const Particle& particle : older) {
        const auto found = in(merged, particle.element);
        if (found != merged.end()) {
            found->optional = found->optional || particle.optional;
            next = found + 1;
        } else {
            next = merged.insert(next, Particle{particle.element, true}) + 1;
        }
    }
}

std::string ChoiceModel(std::vector<std::string> elements, bool none) {
    std::sort(elements.begin(), elements.end());
    elements.erase(std::unique(elements.begin(), elements.end()), elements.end());
    if (elements.empty()) return "EMPTY";
    std::string model = "(";
    for (const std::string& element : elements)
        model += (model.size() > 1 ? " | " : "") + element;
    return model + (none ? ")?" : ")");
}

Result Conflicting(std::string_view element, std::string types) {
    Result result;
    result.ok = false;
    result.expected = "one class named \"" + std::string(element) + "\" in a model";
    result.found = std::move(types);
    return result;
}

Result SaveText(std::string_view path, std::string_view text) {
    platform::FileReplacement file(platform::Utf8ToUtf16(path));
    Result result;
    if (file.Kind() != platform::WriteTarget::Kind::MissingFolder &&
        file.Write(text.data(), text.size()) && file.Commit())
        return result;
    result.ok = false;
    result.found = CannotSave(path, file.Error());
    return result;
}

} // namespace classxml::archive_detail
