#pragma once

#include <initializer_list>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeinfo>
#include <vector>

#include "classxml/archive/Result.h"
#include "classxml/archive/detail/Archived.h"
#include "classxml/platform/Export.h"

namespace classxml::archive_detail {

// The element declarations of a DTD, collected element by element. An element name that
// stands for values of several shapes (a `name` that is text in one class and a container in
// another) gets the union of their content models, which says which elements it may hold but
// no longer in what order or how often; no DTD says what type a value's text is.
class CLASSXML_API DtdDeclarations {
public:
    // Declares `element` with a content model ("(#PCDATA)", "EMPTY", "(a, b?)", "(a)*") and
    // the attributes it may carry, beside what it was declared with before.
    void Declare(std::string_view element, std::string model,
                 std::initializer_list<std::string_view> attributes);
    // False the first time a class element is asked about, true after: so that a type is
    // described once, and a type that holds itself is no endless walk.
    bool Described(std::string_view element);
    // The same for a class's element, which one C++ type takes: a second type of that name is
    // noted as a conflict, which makes the DTD fail.
    bool Described(std::string_view element, const std::type_info& type);
    // The first class element two types took ("a::Item and b::Item"), or empty.
    const std::string& Conflict() const { return m_conflict; }
    const std::string& ConflictingTypes() const { return m_conflictingTypes; }
    bool Declared(std::string_view element) const { return m_elements.count(element) > 0; }
    // `element` may carry `attribute` too.
    void Allow(std::string_view element, std::string_view attribute) {
        m_elements[std::string(element)].attributes.emplace(attribute);
    }
    // The root element may end with any number of `element` after what its model holds.
    void RootEndsWith(std::string element) { m_rootTail = std::move(element); }
    // The DTD's text, the root element first and the others by name.
    std::string Text(std::string_view root) const;

private:
    struct Element {
        std::set<std::string> models;
        std::set<std::string, std::less<>> attributes;
    };
    std::map<std::string, Element, std::less<>> m_elements;
    std::set<std::string, std::less<>> m_described;
    std::map<std::string, const std::type_info*, std::less<>> m_classes;
    std::string m_conflict, m_conflictingTypes;
    std::string m_rootTail;
};

// A member of a class as its content model lists it.
struct Particle {
    std::string element;
    bool optional = false;
};

// The content model of a class element: its members in order, "?" for the optional ones; where
// such a sequence would be ambiguous (an optional member of the same element as another), any
// of them in any order.
CLASSXML_API std::string SequenceModel(const std::vector<Particle>& particles);
// Merges the members of an older version of a class into those of a newer one: a member that
// one of them lacks becomes optional, and one that only the older has is kept where it stood.
CLASSXML_API void MergeOlderVersion(std::vector<Particle>& merged,
                                    const std::vector<Particle>& older);
// Any one of the elements, once ("?" when `none` may stand for nothing at all).
CLASSXML_API std::string ChoiceModel(std::vector<std::string> elements, bool none);

// The failure of a DTD whose model holds two classes named `element`: `types`.
CLASSXML_API Result Conflicting(std::string_view element, std::string types);
// Writes `text` to the file at `path` in one step, as every save; the Result of it.
CLASSXML_API Result SaveText(std::string_view path, std::string_view text);

// What a `serialize` (or `save`) function is given when a DTD is made from its type: each
// member's element is declared, and the class's content model collected, member by member.
class DtdArchive {
public:
    explicit DtdArchive(DtdDeclarations& declarations) : m_declarations(declarations) {}

    template <Part... Parts>
    DtdArchive& operator()(const Parts&... parts) {
        (Take(parts), ...);
        return *this;
    }
    template <class T>
    DtdArchive& operator()(std::string_view name, const T&) {
        m_particles->push_back(MemberParticle<T>(name));
        return *this;
    }

    // The element `T` has under `name`, declared with all it may hold.
    template <class T>
    std::string Element(std::string_view name) {
        return Archived<T>::Describe(*this, name);
    }
    // The content model of class `T`, from the members its save (or serialize) names at each
    // of its versions: whatever a file of any version the program reads holds.
    // A class without a default constructor holds what its load_and_construct reads.
    template <class T>
    std::string MembersOf() {
        if constexpr (!std::is_default_constructible_v<T> && LoadAndConstruct<T, DtdArchive>) {
            return SequenceModel(Collect([&] {
                Construct<T> construct;
                CallLoadAndConstruct(*this, construct);
            }));
        } else {
            static_assert(std::is_default_constructible_v<T>,
                          "a DTD is made from an object of each class: give it a default "
                          "constructor, or a load_and_construct function");
            const T object{};
            std::vector<Particle> merged = MembersAt(object, ClassVersion<T>::value);
            for (std::uint32_t version = 0; version < ClassVersion<T>::value; ++version)
                MergeOlderVersion(merged, MembersAt(object, version));
            return SequenceModel(merged);
        }
    }
    DtdDeclarations& Declarations() { return m_declarations; }

private:
    template <class T>
    std::vector<Particle> MembersAt(const T& object, std::uint32_t version) {
        return Collect([&] { SaveMembers(*this, object, version); });
    }
    // The particles of the members `name` names.
    template <class NameMembers>
    std::vector<Particle> Collect(const NameMembers& name) {
        std::vector<Particle> particles;
        std::vector<Particle>* outer = m_particles;
        m_particles = &particles;
        name();
        m_particles = outer;
        return particles;
    }
    template <class T>
    Particle MemberParticle(std::string_view name);
    template <class T>
    void Take(const T& part);

    DtdDeclarations& m_declarations;
    std::vector<Particle>* m_particles = nullptr;
};

} // namespace classxml::archive_detail
