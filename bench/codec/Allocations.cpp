// Counts what the program allocates with operator new.

#include <atomic>
#include <cstdlib>
#include <new>

#include "bench/codec/Clip.h"

namespace {
std::atomic<std::uint64_t> g_allocations{0};
}

namespace codec::bench {
std::uint64_t Allocations() {
    return g_allocations.load(std::memory_order_relaxed);
}
}  // namespace codec::bench

void* operator new(std::size_t size) {
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* memory = std::malloc(size == 0 ? 1 : size)) return memory;
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
