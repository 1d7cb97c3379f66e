#include "classxml/archive/detail/Polymorphic.h"

#include <deque>
#include <shared_mutex>

#include "classxml/platform/TypeName.h"

namespace classxml::archive_detail {
namespace {

// The registered types, by element name and by the compiler's name of the type.
struct Registry {
    std::shared_mutex mutex;
    std::deque<PolymorphicType> types; // where they stay, for the maps' pointers
    std::unordered_map<std::string, const PolymorphicType*> byText;
    std::unordered_map<std::string, const PolymorphicType*> byName;
};

Registry& TheRegistry() {
    static Registry registry;
    return registry;
}

} // namespace

// A type registered twice (from two modules) is one type. Types registered under one type text
// are each marked with the names of all of them, so that saving or loading either says why.
// Registration runs before main, ahead of every save and load that reads the marks.
void RegisterPolymorphicType(const PolymorphicType& type) {
    Registry& registry = TheRegistry();
    const std::unique_lock lock(registry.mutex);
    if (registry.byName.count(type.typeName)) return;
    PolymorphicType& kept = registry.types.emplace_back(type);
    registry.byName.emplace(kept.typeName, &kept);
    const auto [first, added] = registry.byText.emplace(kept.typeText, &kept);
    if (added) return;
    std::string conflict;
    for (PolymorphicType& other : registry.types)
        if (other.typeText == kept.typeText)
            conflict += (conflict.empty() ? "" : " and ") +
                        platform::ReadableTypeName(other.typeName.c_str());
    for (PolymorphicType& other : registry.types)
        if (other.typeText == kept.typeText) other.conflict = conflict;
}

const PolymorphicType* PolymorphicTypeNamed(std::string_view typeText) {
    Registry& registry = TheRegistry();
    const std::shared_lock lock(registry.mutex);
    const auto found = registry.byText.find(std::string(typeText));
    return found == registry.byText.end() ? nullptr : found->second;
}

const PolymorphicType* PolymorphicTypeOf(const std::type_info& type) {
    Registry& registry = TheRegistry();
    const std::shared_lock lock(registry.mutex);
    const auto found = registry.byName.find(type.name());
    return found == registry.byName.end() ? nullptr : found->second;
}

std::vector<const PolymorphicType*> PolymorphicTypes() {
    Registry& registry = TheRegistry();
    const std::shared_lock lock(registry.mutex);
    std::vector<const PolymorphicType*> types;
    for (const PolymorphicType& type : registry.types)
        types.push_back(&type);
    return types;
}

std::string ReadableTypeName(const std::type_info& type) {
    return platform::ReadableTypeName(type.name());
}

} // namespace classxml::archive_detail
