#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeinfo>
#include <unordered_map>
#include <vector>

#include "classxml/archive/detail/Polymorphic.h"
#include "classxml/platform/Export.h"

namespace classxml::archive_detail {

// Destroys the T at `object` and makes a new one in its place (an object of an abstract type
// is always of a registered one, renewed as that). An object built by load_and_construct is
// left as it is: it was known only once its contents had loaded, so no ring runs through it
// unfinished.
template <class T>
void RenewInPlace(void* object) {
    if constexpr (!std::is_abstract_v<T> && std::is_default_constructible_v<T>) {
        static_cast<T*>(object)->~T();
        new (object) T();
    }
}

// What the objects shared_ptrs share were saved as, and what they came back as: by the address
// of the whole object, and by the number the save gave it.
struct SavedObjects {
    std::unordered_map<const void*, std::uint64_t> ids;
    std::uint64_t lastId = 0; // the number given last, to a shared or a deferred object
    // How many objects that load_and_construct builds the save is inside: their pointees are
    // never deferred, since what such a constructor is given moves where no load can follow.
    int constructed = 0;
    // The class element names that two types of the program take, each with the one type this
    // document has written it for: the other type when `type` is not that one.
    std::unordered_map<std::string_view, const std::type_info*> classes;
    const std::type_info* OtherType(std::string_view element, const std::type_info& type) {
        const auto [at, first] = classes.try_emplace(element, &type);
        return first || *at->second == type ? nullptr : at->second;
    }
};
struct CLASSXML_API LoadedObjects {
    struct Object {
        std::shared_ptr<void> object;      // the whole object
        const PolymorphicType* type;       // when registered: finds any of its bases
        const std::type_info* pointerType; // the type it was loaded as
        void (*renew)(void* object);       // RenewInPlace of its type
    };
    std::unordered_map<std::string, Object> byId;

    // A pointer waiting for an object written further on, and how it is set: to the object of
    // the element the reader stands on (`load`), or to that object once it is loaded.
    using Resolve = void (*)(void* archive, const std::string& id, void* pointer, bool load);
    struct Slot {
        void* pointer;
        Resolve resolve;
        std::string path; // where the pointer stands, for the failure when its object is missing
    };
    // The pointers waiting for the object numbered `id`; false when the object cannot be theirs
    // (a unique pointer's object taken twice).
    bool Await(const std::string& id, Slot slot, bool unique);
    // The first number waited for, with the pointers waiting for it, which wait no longer.
    bool NextAwaited(std::string& id, std::vector<Slot>& slots);

    // The object that was loaded at `from` now stands at `to`: the pointers waiting inside it
    // are followed there. Loads that await nothing skip it at the cost of one test.
    void Moved(const void* from, const void* to, std::size_t size) {
        if (!m_byAddress.empty()) Follow(from, to, size);
    }
    bool Following() const { return !m_byAddress.empty(); }

    // How many objects that load_and_construct builds are loading: what they are given moves
    // into them where no load can follow, so no pointer inside one may wait.
    int constructing = 0;

    // After a failed load nothing loaded reaches the program: each object is made anew, which
    // lets go of the pointers it held, so that rings it was part of are freed with it.
    void Abandon() {
        for (auto& [id, loaded] : byId)
            loaded.renew(loaded.object.get());
        byId.clear();
    }

private:
    struct Awaited {
        std::vector<std::size_t> slots; // into m_slots
        bool unique = false;
    };
    void Follow(const void* from, const void* to, std::size_t size);

    std::vector<Slot> m_slots;
    std::unordered_map<std::string, Awaited> m_awaited;
    std::deque<std::string> m_order;                        // the numbers awaited, as first met
    std::multimap<std::uintptr_t, std::size_t> m_byAddress; // the slots still waiting
};

} // namespace classxml::archive_detail
