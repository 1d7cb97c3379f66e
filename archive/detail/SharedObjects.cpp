#include "classxml/archive/detail/SharedObjects.h"

namespace classxml::archive_detail {
namespace {

std::uintptr_t Address(const void* pointer) { return reinterpret_cast<std::uintptr_t>(pointer); }

} // namespace

std::atomic<bool>& PlainPointersArchived() {
    static std::atomic<bool> archived{false};
    return archived;
}

SavedObjects::Target& SavedObjects::Numbered(Target& target) {
    if (target.id == 0 && !target.written) target.id = ++lastId;
    return target;
}

void SavedObjects::RootIs(const ObjectKey& key) {
    if (const auto found = targets.find(key); found != targets.end()) found->second.written = true;
}

std::uint64_t SavedObjects::PointedTo(const ObjectKey& key, bool& written) {
    const Target& target = Numbered(targets[key]);
    written = target.written;
    return target.id;
}

std::uint64_t SavedObjects::Written(const ObjectKey& key) {
    const auto found = targets.find(key);
    if (found == targets.end()) return 0;
    Target& target = Numbered(found->second);
    target.written = true;
    m_unwritten.erase(target.id);
    return target.id;
}

std::string SavedObjects::ForgetTargets() {
    std::string path = m_unwritten.empty() ? std::string() : m_unwritten.begin()->second;
    m_unwritten.clear();
    targets.clear();
    return path;
}

const LoadedObjects::Object* LoadedObjects::Noted(const std::optional<std::string>& id,
                                                  Object object) {
    object.within = Innermost();
    if (!id) return &m_unnumbered.emplace_back(std::move(object));
    const auto [entry, first] = byId.try_emplace(*id, std::move(object));
    return first ? &entry->second : nullptr;
}

void LoadedObjects::Abandon() {
    for (auto& [id, loaded] : byId)
        loaded.renew(loaded.object.get());
    for (Object& loaded : m_unnumbered)
        loaded.renew(loaded.object.get());
    byId.clear();
    m_unnumbered.clear();
}

bool LoadedObjects::DiesWithLoad(const Object* object) {
    for (; object; object = object->within)
        if (object->object.use_count() == 1) return true;
    return false;
}

bool LoadedObjects::Await(const std::string& id, Slot slot, bool unique) {
    const auto [entry, first] = m_awaited.try_emplace(id);
    Awaited& awaited = entry->second;
    if (first) {
        m_order.push_back(id);
        awaited.unique = unique;
    } else if (unique || awaited.unique) {
        return false;
    }
    Slot& kept = m_slots.emplace_back(std::move(slot));
    awaited.slots.push_back(&kept);
    m_followed.emplace(Address(kept.pointer), &kept.pointer);
    return true;
}

bool LoadedObjects::NextAwaited(std::string& id, std::vector<Slot>& slots) {
    if (m_order.empty()) return false;
    id = std::move(m_order.front());
    m_order.pop_front();
    const auto entry = m_awaited.find(id);
    slots.clear();
    for (Slot* slot : entry->second.slots) {
        Unfollow(&slot->pointer);
        slots.push_back(std::move(*slot));
    }
    m_awaited.erase(entry);
    return true;
}

bool LoadedObjects::NoteTarget(const std::string& id, Target target) {
    target.within = Innermost();
    const auto [entry, first] = m_targets.try_emplace(id, target);
    if (first) m_followed.emplace(Address(target.object), &entry->second.object);
    return first;
}

void LoadedObjects::AwaitTarget(const std::string& id, void* pointer, Assign assign,
                                std::string_view pointee, std::string path) {
    PlainSlot& kept =
        m_plain.emplace_back(PlainSlot{pointer, id, assign, pointee, std::move(path)});
    m_followed.emplace(Address(kept.pointer), &kept.pointer);
}

bool LoadedObjects::PointersMatch(std::string& path, std::string& expected,
                                  std::string& found) const {
    for (const PlainSlot& slot : m_plain) {
        const auto target = m_targets.find(slot.id);
        if (target == m_targets.end()) {
            expected = "an object with varid " + slot.id;
            found = "none";
        } else if (DiesWithLoad(target->second.within)) {
            expected = "an object the loaded object holds under varref " + slot.id;
            found = "one only weak pointers hold";
        } else if (!slot.assign(slot.pointer, target->second, false)) {
            expected =
                "an object of type " + std::string(slot.pointee) + " under varref " + slot.id;
            found = "one of type " + std::string(target->second.element);
        } else {
            continue;
        }
        path = slot.path;
        return false;
    }
    return true;
}

void LoadedObjects::SetAndForget() {
    for (const PlainSlot& slot : m_plain)
        slot.assign(slot.pointer, m_targets.at(slot.id), true);
    m_plain.clear();
    m_targets.clear();
    m_slots.clear();
    m_followed.clear(); // nothing else waits once the load is done
}

void LoadedObjects::Follow(const void* from, const void* to, std::size_t size) {
    const std::uintptr_t start = Address(from);
    const auto begin = m_followed.lower_bound(start), end = m_followed.lower_bound(start + size);
    if (begin == end) return;
    const std::vector<std::pair<std::uintptr_t, void**>> moved(begin, end);
    m_followed.erase(begin, end);
    for (const auto& [address, kept] : moved) {
        *kept = static_cast<char*>(const_cast<void*>(to)) + (address - start);
        m_followed.emplace(Address(*kept), kept);
    }
}

void LoadedObjects::Unfollow(void** kept) {
    const auto [begin, end] = m_followed.equal_range(Address(*kept));
    for (auto at = begin; at != end; ++at)
        if (at->second == kept) return (void)m_followed.erase(at);
}

} // namespace classxml::archive_detail
