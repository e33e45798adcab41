#pragma once

#include <atomic>
#include <cstdlib>
#include <new>

// Counts every allocation of the program. To be included by the one source of a test program that stands alone:
// it replaces the global operators.

namespace KX::test {

inline std::atomic<unsigned long> heapAllocations{0};

} // namespace KX::test

void* operator new(std::size_t size) {
    ++KX::test::heapAllocations;
    if (void* memory = std::malloc(size))
        return memory;
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
