#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <typeinfo>
#include <unordered_map>
#include <vector>

#include "classxml/platform/Export.h"

namespace classxml::archive_detail {

// A class a pointer to one of its bases may hold, registered by CLASSXML_REGISTER_TYPE: how its
// objects are made, saved and loaded when only their element name or their dynamic type says
// what they are. The registry lives in the library, so that types registered by any module of a
// program are found by all, and may be used from several threads.
struct PolymorphicType {
    std::string typeText;          // its class element's name
    std::string typeName;          // typeid(T).name(), which names the type in every module alike
    void* (*create)();             // a new T
    void (*destroy)(void* object); // deletes a T
    void (*renew)(void* object);   // destroys a T in place and makes a new one there
    void (*throwPointer)(void* object); // throws it as a T*, to find a base inside it
    // Its class element, saved from or loaded into its complete object, on each engine; saved
    // by each writer (kWriter: the engines', and the survey's that writes nothing).
    void (*save[3])(void* archive, const void* object);
    void (*load[2])(void* archive, void* object);
    std::string (*describe)(void* dtd); // declares its element in a DTD; gives its name
    // The C++ types registered under this one's type text, when there are several: a file
    // cannot tell their objects apart, so every save and load that meets them fails.
    std::string conflict;
};

CLASSXML_API void RegisterPolymorphicType(const PolymorphicType& type);
CLASSXML_API const PolymorphicType* PolymorphicTypeNamed(std::string_view typeText);
CLASSXML_API const PolymorphicType* PolymorphicTypeOf(const std::type_info& type);
// Every registered type, in the order of registration.
CLASSXML_API std::vector<const PolymorphicType*> PolymorphicTypes();
// A type's name for people, where the compiler's own spelling is mangled.
CLASSXML_API std::string ReadableTypeName(const std::type_info& type);

// The `Base` inside an object of a registered type, found as a handler of type Base* finds it
// among the object's bases; its place in a complete object of the type never changes, so it is
// looked up once per type. Null when the type has no such base.
template <class Base>
Base* BaseOf(const PolymorphicType& type, void* object) {
    constexpr std::ptrdiff_t kNoBase = PTRDIFF_MIN;
    static std::mutex mutex;
    static std::unordered_map<const PolymorphicType*, std::ptrdiff_t> offsets;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        if (const auto found = offsets.find(&type); found != offsets.end())
            return found->second == kNoBase
                       ? nullptr
                       : reinterpret_cast<Base*>(static_cast<char*>(object) + found->second);
    }
    Base* base = nullptr;
    try {
        type.throwPointer(object);
    } catch (Base* caught) {
        base = caught;
    } catch (...) {
    }
    const std::lock_guard<std::mutex> lock(mutex);
    offsets[&type] = base ? reinterpret_cast<char*>(base) - static_cast<char*>(object) : kNoBase;
    return base;
}

} // namespace classxml::archive_detail
