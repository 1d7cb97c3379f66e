#pragma once

#include <string_view>

#include "classxml/archive/Members.h"
#include "classxml/archive/detail/Archived.h"
#include "classxml/archive/detail/SharedObjects.h"

namespace classxml {

/// @ingroup archive
/// What a `serialize` or `load` function is given when its object is loaded, by either engine
/// (its reader `R`). Members are found by name, in any order; unknown elements are skipped; a
/// missing member is an error unless it is a std::optional.
template <class R>
class BasicInputArchive {
public:
    /// @cond INTERNAL
    static constexpr Engine kEngine = R::kEngine;
    explicit BasicInputArchive(R& reader) : m_reader(reader) {}
    /// @endcond

    /// Reads each member by its name, and each base class's members in place.
    template <archive_detail::Part... Parts>
    BasicInputArchive& operator()(const Parts&... parts) {
        (Take(parts), ...);
        return *this;
    }
    /// Reads one member by `name`; calls chain: `ar("a", a)("b", b)`.
    template <class T>
    BasicInputArchive& operator()(std::string_view name, T& value) {
        Member(name, value);
        return *this;
    }

    /// @cond INTERNAL
    // The member `name`, in its member form where its type has one: found, entered, read and
    // left.
    template <class T>
    void Member(std::string_view name, T& value) {
        using Type = archive_detail::Archived<T>;
        if constexpr (archive_detail::HasMemberForm<T>) {
            Type::LoadMember(*this, name, value);
        } else {
            const bool entered = Type::shape == archive_detail::Shape::Class
                                     ? m_reader.EnterClassMember(Type::TypeText(), name)
                                     : m_reader.EnterMember(name);
            if (!entered) return;
            Here(value);
            m_reader.Leave();
        }
    }
    // Whether the member `name` stands in the element the reader is in.
    template <class T>
    bool HasMember(std::string_view name) {
        using Type = archive_detail::Archived<T>;
        return Type::shape == archive_detail::Shape::Class
                   ? m_reader.HasClassMember(Type::TypeText(), name)
                   : m_reader.HasMember(name);
    }
    // The value of the element the reader stands on.
    template <class T>
    void Here(T& value) {
        archive_detail::Archived<T>::Load(*this, value);
    }
    R& Reader() { return m_reader; }
    archive_detail::LoadedObjects& Shared() { return m_shared; }
    /// @endcond

private:
    template <class T>
    void Take(const NameValue<T>& member) {
        Member(member.name, member.value);
    }
    // Under its name, else under the first old name the file has; absent, an optional member
    // keeps its value and another is reported missing under its name.
    template <class T, std::size_t N>
    void Take(const MemberRules<T, N>& rules) {
        const std::string_view name = rules.member.name;
        if (N > 0 && !HasMember<T>(name))
            for (const std::string_view oldName : rules.oldNames)
                if (HasMember<T>(oldName)) return Member(oldName, rules.member.value);
        if (rules.optional && !HasMember<T>(name)) return;
        Member(name, rules.member.value);
    }
    template <class Base>
    void Take(const BaseClass<Base>& base) {
        archive_detail::LoadMembers(*this, *base.object);
    }

    R& m_reader;
    archive_detail::LoadedObjects m_shared;
};

} // namespace classxml
