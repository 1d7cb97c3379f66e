#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeindex>
#include <typeinfo>
#include <unordered_map>
#include <utility>
#include <vector>

#include "classxml/archive/detail/Polymorphic.h"
#include "classxml/platform/Export.h"

namespace classxml::archive_detail {

// The attributes that number objects: an object's number ("varid", on the pointer that holds it
// or on the class element a plain pointer points to), and a pointer to a numbered object
// ("varref"). The document's root object is number 0.
inline constexpr std::string_view kId = "varid";
inline constexpr std::string_view kReference = "varref";
inline constexpr std::string_view kRootId = "0";

// Whether the program archives plain pointers anywhere: set as it starts by each pointer type
// it saves or loads (PlainPointers.h), so that programs that never do pay nothing for them.
// The flag lives in the library, for every module of the program; each module looks it up once.
CLASSXML_API std::atomic<bool>& PlainPointersArchived();
inline bool PlainPointersUsed() {
    static const std::atomic<bool>& archived = PlainPointersArchived();
    return archived.load(std::memory_order_relaxed);
}

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

// An object as plain pointers point to it: the address of the whole object and its type.
using ObjectKey = std::pair<const void*, std::type_index>;
struct ObjectKeyHash {
    std::size_t operator()(const ObjectKey& key) const {
        return std::hash<const void*>()(key.first) ^ key.second.hash_code();
    }
};

// What a save numbers: the objects shared_ptrs share (by the address of the whole object), the
// deferred ones, and the objects plain pointers point to.
struct CLASSXML_API SavedObjects {
    std::unordered_map<const void*, std::uint64_t> ids;
    std::uint64_t lastId = 0; // the number given last
    // How many objects that load_and_construct builds the save is inside: what such a
    // constructor is given moves where no load can follow, so no pointee in one is deferred,
    // and no plain pointer points into one.
    int constructed = 0;

    // The class element names that two types of the program take, each with the one type this
    // document has written it for: the other type when `type` is not that one.
    std::unordered_map<std::string_view, const std::type_info*> classes;
    const std::type_info* OtherType(std::string_view element, const std::type_info& type) {
        const auto [at, first] = classes.try_emplace(element, &type);
        return first || *at->second == type ? nullptr : at->second;
    }

    // The objects plain pointers point to, found by the survey before the save, with the number
    // the save gives each (0 until it does; the root is numbered 0 from the start) and whether
    // its class element has been written.
    struct Target {
        std::uint64_t id = 0;
        bool written = false;
    };
    using Targets = std::unordered_map<ObjectKey, Target, ObjectKeyHash>;
    Targets targets;
    Targets surveyed; // what the survey finds, while it walks
    // The root object, numbered 0 and written before all else.
    void RootIs(const ObjectKey& key);
    // The number of the object a plain pointer points to; `written` whether its class element
    // has been written yet.
    std::uint64_t PointedTo(const ObjectKey& key, bool& written);
    // A pointer at `path` points to number `id`, which is not written yet.
    void Unwritten(std::uint64_t id, std::string path) {
        m_unwritten.try_emplace(id, std::move(path));
    }
    // The number to write on the class element of the object `key` as it is written (0 when
    // no plain pointer points to it).
    std::uint64_t Written(const ObjectKey& key);
    // Once the top object is written: the path of a pointer to an object the document does not
    // hold, or empty. The objects pointed to are forgotten.
    std::string TakeUnwritten() {
        return m_unwritten.empty() && targets.empty() ? std::string() : ForgetTargets();
    }

private:
    std::string ForgetTargets();
    Target& Numbered(Target& target);
    std::map<std::uint64_t, std::string> m_unwritten; // by number: where the first pointer is
};

// What a load has numbered: shared objects, the pointers waiting for deferred ones, and the
// objects plain pointers point to. The addresses of pointers and objects still to be matched are
// followed as the load moves what holds them into place.
struct CLASSXML_API LoadedObjects {
    struct Object {
        std::shared_ptr<void> object;      // the whole object
        const PolymorphicType* type;       // when registered: finds any of its bases
        const std::type_info* pointerType; // the type it was loaded as
        void (*renew)(void* object);       // RenewInPlace of its type
        const Object* within = nullptr;    // the shared object it was loaded inside
    };
    std::unordered_map<std::string, Object> byId;
    // A shared object as it is made: under its number when it has one; null when the number is
    // taken.
    const Object* Noted(const std::optional<std::string>& id, Object object);
    // The shared objects being loaded, the innermost last.
    std::vector<const Object*> loading;

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
    bool Awaiting() const { return !m_order.empty(); }

    // An object plain pointers may point to, and a plain pointer, set once the load is done.
    struct Target {
        void* object;
        const std::type_info* type;
        const PolymorphicType* registered; // when its type is registered: finds its bases
        std::string_view element;          // its class element's name
        const Object* within = nullptr;    // the shared object it was loaded inside
    };
    // Sets `pointer` to `target` (when `set`); false when the target is not of its type.
    using Assign = bool (*)(void* pointer, const Target& target, bool set);
    // False when the number is taken already. The target is noted as loaded inside the
    // innermost shared object loading.
    bool NoteTarget(const std::string& id, Target target);
    // `pointee` is the element name of the class the pointer points to.
    void AwaitTarget(const std::string& id, void* pointer, Assign assign, std::string_view pointee,
                     std::string path);
    // Whether every plain pointer has its object, of its type; else what is wrong: the path of
    // the pointer, what was expected and what found.
    bool PointersMatch(std::string& path, std::string& expected, std::string& found) const;
    // Sets the plain pointers, once the objects stand where they stay, and forgets them.
    void SetPointers() {
        if (!m_plain.empty() || !m_targets.empty() || !m_slots.empty()) SetAndForget();
    }
    bool PointersWait() const { return !m_plain.empty(); }

    // The object that was loaded at `from` now stands at `to`: the pointers and objects waiting
    // inside it are followed there. Loads that wait for nothing skip it at the cost of one test.
    void Moved(const void* from, const void* to, std::size_t size) {
        if (!m_followed.empty()) Follow(from, to, size);
    }
    bool Following() const { return !m_followed.empty(); }

    // How many objects that load_and_construct builds are loading: what they are given moves
    // into them where no load can follow, so no pointer inside one may wait.
    int constructing = 0;

    // After a failed load nothing loaded reaches the program: each object is made anew, which
    // lets go of the pointers it held, so that rings it was part of are freed with it.
    void Abandon();

private:
    struct Awaited {
        std::vector<Slot*> slots;
        bool unique = false;
    };
    struct PlainSlot {
        void* pointer;
        std::string id;
        Assign assign;
        std::string_view pointee;
        std::string path;
    };
    const Object* Innermost() const { return loading.empty() ? nullptr : loading.back(); }
    void SetAndForget();
    void Follow(const void* from, const void* to, std::size_t size);
    void Unfollow(void** address);

    // Whether an object loaded inside `object` dies with the load: when the load alone holds it
    // or one it was loaded inside (the objects only weak pointers hold).
    static bool DiesWithLoad(const Object* object);

    std::deque<Object> m_unnumbered; // shared objects without a number
    std::deque<Slot> m_slots;
    std::unordered_map<std::string, Awaited> m_awaited;
    std::deque<std::string> m_order; // the numbers awaited, as first met
    std::unordered_map<std::string, Target> m_targets;
    std::deque<PlainSlot> m_plain;
    // Where each followed address is kept (a slot's pointer, a target's object), by its value.
    std::multimap<std::uintptr_t, void**> m_followed;
};

} // namespace classxml::archive_detail
