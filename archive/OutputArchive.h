#pragma once

#include <cstddef>
#include <string_view>
#include <utility>

#include "classxml/archive/Members.h"
#include "classxml/archive/detail/Archived.h"
#include "classxml/archive/detail/SharedObjects.h"

namespace classxml {

/// @ingroup archive
/// What a `serialize` or `save` function is given when its object is saved, by either engine
/// (its writer `W`); write them as templates of their archive, so that they serve both.
template <class W>
class BasicOutputArchive {
public:
    /// @cond INTERNAL
    static constexpr Engine kEngine = W::kEngine;
    explicit BasicOutputArchive(W& writer) : m_writer(writer) {}
    /// @endcond

    /// Writes each member under its name, and each base class's members in place.
    template <archive_detail::Part... Parts>
    BasicOutputArchive& operator()(const Parts&... parts) {
        (Take(parts), ...);
        return *this;
    }
    /// Writes one member under `name`; calls chain: `ar("a", a)("b", b)`.
    template <class T>
    BasicOutputArchive& operator()(std::string_view name, const T& value) {
        Put(name, value, 0);
        return *this;
    }

    /// @cond INTERNAL
    // A member (index 0), in its member form where its type has one, or the index-th item of a
    // container.
    template <class T>
    void Put(std::string_view name, const T& value, std::size_t index) {
        using Type = archive_detail::Archived<T>;
        if constexpr (archive_detail::HasMemberForm<T>) {
            if (index == 0) return Type::SaveMember(*this, name, value);
        }
        Type::Save(*this, name, index, value);
    }
    W& Writer() { return m_writer; }
    archive_detail::SavedObjects& Shared() { return m_shared; }
    /// @endcond

private:
    template <class T>
    void Take(const NameValue<T>& member) {
        Put(member.name, std::as_const(member.value), 0);
    }
    template <class T, std::size_t N>
    void Take(const MemberRules<T, N>& rules) {
        Take(rules.member);
    }
    template <class Base>
    void Take(const BaseClass<Base>& base) {
        archive_detail::SaveMembers(*this, *base.object);
    }

    W& m_writer;
    archive_detail::SavedObjects m_shared;
};

} // namespace classxml
