#include "classxml/xmlio/DocumentMemory.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <new>
#include <vector>

#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/PlatformUtils.hpp>

#include "classxml/xmlio/ParseLimits.h"

namespace classxml::document_memory {
namespace {

// Each block starts with its size, so that what is given back can be counted and kept.
constexpr std::size_t kHeader = 16; // keeps the alignment operator new gives
// The smallest heap block of a Xerces document; smaller allocations are not kept.
constexpr std::size_t kSmallestKept = 16 * 1024;
// A kept block would hide a use after free from the address sanitizer.
#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define CLASSXML_ADDRESS_SANITIZER
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(CLASSXML_ADDRESS_SANITIZER)
constexpr std::size_t kMostKept = 0;
#else
constexpr std::size_t kMostKept = std::size_t(256) << 20;
#endif

class KeepingMemory : public xercesc::MemoryManager {
public:
    xercesc::MemoryManager* getExceptionMemoryManager() override {
        return xercesc::XMLPlatformUtils::fgMemoryManager;
    }

    void* allocate(XMLSize_t size) override {
        return Allocate(size, parse_limits::ActiveBudget::Current());
    }
    void deallocate(void* pointer) override {
        Deallocate(pointer, parse_limits::ActiveBudget::Current());
    }

    // Memory counted against `budget`, when there is one.
    void* Allocate(std::size_t size, parse_limits::Budget* budget) {
        if (budget && !budget->Take(size)) throw xercesc::OutOfMemoryException();
        void* block = size >= kSmallestKept ? TakeKept(size) : nullptr;
        if (!block) block = ::operator new(size + kHeader, std::nothrow);
        if (!block) throw xercesc::OutOfMemoryException();
        *static_cast<std::size_t*>(block) = size;
        return static_cast<char*>(block) + kHeader;
    }

    void Deallocate(void* pointer, parse_limits::Budget* budget) {
        if (!pointer) return;
        void* block = static_cast<char*>(pointer) - kHeader;
        const std::size_t size = *static_cast<std::size_t*>(block);
        if (budget) budget->GiveBack(size);
        if (size < kSmallestKept || !Keep(block, size)) ::operator delete(block);
    }

    void FreeKept() {
        const std::lock_guard lock(m_mutex);
        for (auto& [size, blocks] : m_kept)
            for (void* block : blocks)
                ::operator delete(block);
        m_kept.clear();
        m_keptBytes = 0;
    }

private:
    void* TakeKept(std::size_t size) {
        const std::lock_guard lock(m_mutex);
        const auto kept = m_kept.find(size);
        if (kept == m_kept.end() || kept->second.empty()) return nullptr;
        void* block = kept->second.back();
        kept->second.pop_back();
        m_keptBytes -= size;
        return block;
    }

    bool Keep(void* block, std::size_t size) {
        const std::lock_guard lock(m_mutex);
        if (m_keptBytes + size > kMostKept) return false;
        m_kept[size].push_back(block);
        m_keptBytes += size;
        return true;
    }

    std::mutex m_mutex;
    std::map<std::size_t, std::vector<void*>> m_kept; // by size
    std::size_t m_keptBytes = 0;
};

// Never destroyed: documents still registered when the process ends are freed after every
// static object is gone.
KeepingMemory& TheMemory() {
    static KeepingMemory* const memory = new KeepingMemory;
    return *memory;
}

} // namespace

xercesc::MemoryManager* Memory() { return &TheMemory(); }

void FreeKept() { TheMemory().FreeKept(); }

xercesc::MemoryManager* CountedMemory::getExceptionMemoryManager() {
    return xercesc::XMLPlatformUtils::fgMemoryManager;
}

void* CountedMemory::allocate(XMLSize_t size) { return TheMemory().Allocate(size, &m_budget); }

void CountedMemory::deallocate(void* pointer) { TheMemory().Deallocate(pointer, &m_budget); }

} // namespace classxml::document_memory
