#pragma once

#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeinfo>
#include <unordered_map>

#include "classxml/archive/detail/Polymorphic.h"

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
    // The class element names that two types of the program take, each with the one type this
    // document has written it for: the other type when `type` is not that one.
    std::unordered_map<std::string_view, const std::type_info*> classes;
    const std::type_info* OtherType(std::string_view element, const std::type_info& type) {
        const auto [at, first] = classes.try_emplace(element, &type);
        return first || *at->second == type ? nullptr : at->second;
    }
};
struct LoadedObjects {
    struct Object {
        std::shared_ptr<void> object;      // the whole object
        const PolymorphicType* type;       // when registered: finds any of its bases
        const std::type_info* pointerType; // the type it was loaded as
        void (*renew)(void* object);       // RenewInPlace of its type
    };
    std::unordered_map<std::string, Object> byId;

    // After a failed load nothing loaded reaches the program: each object is made anew, which
    // lets go of the pointers it held, so that rings it was part of are freed with it.
    void Abandon() {
        for (auto& [id, loaded] : byId)
            loaded.renew(loaded.object.get());
        byId.clear();
    }
};

} // namespace classxml::archive_detail
