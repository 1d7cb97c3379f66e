#include "classxml/archive/detail/SharedObjects.h"

#include <utility>

namespace classxml::archive_detail {

bool LoadedObjects::Await(const std::string& id, Slot slot, bool unique) {
    const auto [entry, first] = m_awaited.try_emplace(id);
    Awaited& awaited = entry->second;
    if (first) {
        m_order.push_back(id);
        awaited.unique = unique;
    } else if (unique || awaited.unique) {
        return false;
    }
    awaited.slots.push_back(m_slots.size());
    m_byAddress.emplace(reinterpret_cast<std::uintptr_t>(slot.pointer), m_slots.size());
    m_slots.push_back(std::move(slot));
    return true;
}

bool LoadedObjects::NextAwaited(std::string& id, std::vector<Slot>& slots) {
    if (m_order.empty()) return false;
    id = std::move(m_order.front());
    m_order.pop_front();
    const auto entry = m_awaited.find(id);
    slots.clear();
    for (const std::size_t index : entry->second.slots) {
        Slot& slot = m_slots[index];
        const auto [begin, end] =
            m_byAddress.equal_range(reinterpret_cast<std::uintptr_t>(slot.pointer));
        for (auto at = begin; at != end; ++at)
            if (at->second == index) {
                m_byAddress.erase(at);
                break;
            }
        slots.push_back(std::move(slot));
    }
    m_awaited.erase(entry);
    if (m_byAddress.empty()) m_slots.clear();
    return true;
}

void LoadedObjects::Follow(const void* from, const void* to, std::size_t size) {
    const auto start = reinterpret_cast<std::uintptr_t>(from);
    const auto begin = m_byAddress.lower_bound(start), end = m_byAddress.lower_bound(start + size);
    if (begin == end) return;
    const std::vector<std::pair<std::uintptr_t, std::size_t>> moved(begin, end);
    m_byAddress.erase(begin, end);
    for (const auto& [address, index] : moved) {
        void* now = static_cast<char*>(const_cast<void*>(to)) + (address - start);
        m_slots[index].pointer = now;
        m_byAddress.emplace(reinterpret_cast<std::uintptr_t>(now), index);
    }
}

} // namespace classxml::archive_detail
