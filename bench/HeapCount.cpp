#include "HeapCount.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace classxml::bench::heap {
namespace {

std::atomic<std::size_t> g_live{0}, g_peak{0};

// Each block carries its size in front of it, kept to the alignment new promises.
constexpr std::size_t kHeader = alignof(std::max_align_t);

void* Allocate(std::size_t size) {
    auto* block = static_cast<unsigned char*>(std::malloc(size + kHeader));
    if (!block) throw std::bad_alloc();
    *reinterpret_cast<std::size_t*>(block) = size;
    const std::size_t live = g_live += size;
    for (std::size_t peak = g_peak; live > peak && !g_peak.compare_exchange_weak(peak, live);) {
    }
    return block + kHeader;
}

void Free(void* pointer) {
    if (!pointer) return;
    auto* block = static_cast<unsigned char*>(pointer) - kHeader;
    g_live -= *reinterpret_cast<std::size_t*>(block);
    std::free(block);
}

} // namespace

std::size_t Live() { return g_live; }
std::size_t Peak() { return g_peak; }
void RestartPeak() { g_peak = g_live.load(); }

} // namespace classxml::bench::heap

void* operator new(std::size_t size) { return classxml::bench::heap::Allocate(size); }
void* operator new[](std::size_t size) { return classxml::bench::heap::Allocate(size); }
void operator delete(void* pointer) noexcept { classxml::bench::heap::Free(pointer); }
void operator delete[](void* pointer) noexcept { classxml::bench::heap::Free(pointer); }
void operator delete(void* pointer, std::size_t) noexcept { classxml::bench::heap::Free(pointer); }
void operator delete[](void* pointer, std::size_t) noexcept {
    classxml::bench::heap::Free(pointer);
}
