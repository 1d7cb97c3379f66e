#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include "classxml/archive/Archive.h"
#include "classxml/archive/detail/Dtd.h"

namespace classxml {

/// @cond INTERNAL
namespace archive_detail {

// Declares the root class `T` and all it may hold; its element name.
template <class T>
std::string DescribeRoot(DtdDeclarations& declarations) {
    RequireRootClass<T>();
    DtdArchive dtd(declarations);
    std::string root = Archived<T>::Describe(dtd, {});
    if (declarations.Declared(kDeferred)) declarations.RootEndsWith(std::string(kDeferred));
    return root;
}

} // namespace archive_detail
/// @endcond

/// @ingroup archive
/// The text of a DTD (UTF-8) that documents whose root is `T`'s class element are valid
/// against: it declares `T`'s class element and that of every type it may hold (members,
/// container items, map keys and values, and the registered types a pointer to a base may
/// hold), every member and container element, and the attributes the archive writes. A class
/// element lists its members in `serialize` order, "?" after optional ones. An element name
/// that stands for values of several shapes (text in one class, a container in another) may
/// hold what any of them holds, in any order; and no DTD says what type a value's text is, so
/// "12abc" in an int member is valid and still refused when it is loaded.
///
///     classxml::SaveDtd<Station>("station.dtd");
///     classxml::SaveToFile("station.xml", station, classxml::DocumentType{{}, "station.dtd"});
///
/// Two classes of one name in two namespaces make elements no DTD can tell apart: DtdFor then
/// throws std::invalid_argument naming both (CLASSXML_REGISTER_TYPE_AS gives one another name).
template <class T>
std::string DtdFor() {
    archive_detail::DtdDeclarations declarations;
    const std::string root = archive_detail::DescribeRoot<T>(declarations);
    if (!declarations.Conflict().empty())
        throw std::invalid_argument(
            archive_detail::Conflicting(declarations.Conflict(), declarations.ConflictingTypes())
                .Message());
    return declarations.Text(root);
}

/// @ingroup archive
/// Writes DtdFor<T>() to the file at `path`, replaced in one step as every save is; a model
/// DtdFor refuses is a failed Result that names both classes, and no file is written.
template <class T>
Result SaveDtd(std::string_view path) {
    archive_detail::DtdDeclarations declarations;
    const std::string root = archive_detail::DescribeRoot<T>(declarations);
    if (!declarations.Conflict().empty())
        return archive_detail::Conflicting(declarations.Conflict(),
                                           declarations.ConflictingTypes());
    return archive_detail::SaveText(path, declarations.Text(root));
}

/// @cond INTERNAL
namespace archive_detail {

template <class T>
Particle DtdArchive::MemberParticle(std::string_view name) {
    if constexpr (HasMemberForm<T>)
        return Archived<T>::DescribeMember(*this, name);
    else
        return {Element<T>(name), false};
}

template <class T>
void DtdArchive::Take(const T& part) {
    if constexpr (IsNameValue<T>::value) {
        m_particles->push_back(
            MemberParticle<std::remove_cv_t<std::remove_reference_t<decltype(part.value)>>>(
                part.name));
    } else if constexpr (IsMemberRules<T>::value) {
        // Optional is optional; a member with old names is any of its elements.
        using Value = std::remove_cv_t<std::remove_reference_t<decltype(part.member.value)>>;
        Particle particle = MemberParticle<Value>(part.member.name);
        std::vector<std::string> elements{particle.element};
        for (const std::string_view oldName : part.oldNames)
            if (const std::string element = MemberParticle<Value>(oldName).element;
                element != particle.element)
                elements.push_back(element);
        if (elements.size() > 1) particle.element = ChoiceModel(elements, false);
        particle.optional = particle.optional || part.optional;
        m_particles->push_back(particle);
    } else {
        SaveMembers(*this, *part.object);
    }
}

} // namespace archive_detail
/// @endcond

} // namespace classxml
