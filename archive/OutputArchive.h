#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
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
    static constexpr std::size_t kWriter = W::kWriter;
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

    // A pointee written further on, as a child of the document's root where it does not nest:
    // `write` writes `object` when its turn comes (Pointers.h).
    void Defer(std::uint64_t id, const void* object,
               void (*write)(BasicOutputArchive&, std::uint64_t id, const void* object)) {
        m_deferred.push_back({id, object, write});
    }
    // Writes the deferred pointees, and those they defer in turn, one after another: so that
    // no structure, however deep, takes stack or nesting in proportion to its depth.
    void WriteDeferred() {
        while (!m_deferred.empty()) {
            const Deferred next = m_deferred.front();
            m_deferred.pop_front();
            next.write(*this, next.id, next.object);
        }
    }
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

    struct Deferred {
        std::uint64_t id;
        const void* object;
        void (*write)(BasicOutputArchive&, std::uint64_t, const void*);
    };

    W& m_writer;
    archive_detail::SavedObjects m_shared;
    std::deque<Deferred> m_deferred;
};

} // namespace classxml
