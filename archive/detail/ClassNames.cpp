#include "classxml/archive/detail/ClassNames.h"

#include <map>
#include <mutex>
#include <set>
#include <utility>

#include "classxml/platform/TypeName.h"

namespace classxml::archive_detail {
namespace {

struct Entry {
    ClassName name;
    std::set<std::string> types; // readable names
    std::set<const std::type_info*> seen;
};

std::mutex g_mutex;
std::map<std::string, Entry, std::less<>>& Entries() {
    static std::map<std::string, Entry, std::less<>> entries;
    return entries;
}

} // namespace

const ClassName& TakeClassName(std::string_view element, const std::type_info& type) {
    const std::lock_guard lock(g_mutex);
    auto found = Entries().find(element);
    if (found == Entries().end()) found = Entries().try_emplace(std::string(element)).first;
    Entry& entry = found->second;
    // One type may be met in several modules, each with a type_info of its own: by name.
    if (entry.seen.insert(&type).second)
        entry.types.insert(platform::ReadableTypeName(type.name()));
    if (entry.types.size() > 1) entry.name.shared.store(true, std::memory_order_relaxed);
    return entry.name;
}

std::string BothTypes(const std::type_info& one, const std::type_info& other) {
    std::string names[2] = {platform::ReadableTypeName(one.name()),
                            platform::ReadableTypeName(other.name())};
    if (names[1] < names[0]) std::swap(names[0], names[1]);
    return names[0] + " and " + names[1];
}

} // namespace classxml::archive_detail
