#pragma once

// Counts what a test program allocates, by an operator new of its own: to be included by one source file of a
// program. Not for the thread sanitizer, which brings its own and allows no other.

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {
std::size_t g_allocations = 0;
}

void* operator new(std::size_t size) {
    ++g_allocations;
    if (void* const memory = std::malloc(size)) return memory;
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
