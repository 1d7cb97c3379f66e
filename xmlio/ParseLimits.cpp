#include "classxml/xmlio/ParseLimits.h"

#include <algorithm>

namespace classxml::parse_limits {
namespace {

thread_local Budget* t_activeBudget = nullptr;

} // namespace

bool Budget::Take(std::uint64_t bytes) {
    if (m_memory + bytes > kMemoryPerByte * m_read + kMemoryAllowance && !m_memoryExceeded) {
        m_memoryExceeded = true;
        return false;
    }
    m_memory += bytes;
    return true;
}

void Budget::GiveBack(std::uint64_t bytes) { m_memory -= std::min(bytes, m_memory); }

ActiveBudget::ActiveBudget(Budget& budget) : m_previous(t_activeBudget) {
    t_activeBudget = &budget;
}

ActiveBudget::~ActiveBudget() { t_activeBudget = m_previous; }

Budget* ActiveBudget::Current() { return t_activeBudget; }

} // namespace classxml::parse_limits
