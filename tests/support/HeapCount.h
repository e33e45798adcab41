#pragma once

#include <atomic>
#include <cstdlib>
#include <new>

// Counts every allocation of the program and can make one fail. It replaces the global operators, so only the
// single source of a test program may include it.

namespace KX::test {

inline std::atomic<unsigned long> heapAllocations{0};

/// The allocation of this number fails, once; 0: none.
inline std::atomic<unsigned long> failingAllocation{0};

} // namespace KX::test

// Replaces all forms, because AddressSanitizer's own forms do not fit together with these.

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    if (++KX::test::heapAllocations == KX::test::failingAllocation)
        return nullptr;
    return std::malloc(size);
}

void* operator new(std::size_t size) {
    if (void* memory = operator new(size, std::nothrow))
        return memory;
    throw std::bad_alloc();
}

void* operator new[](std::size_t size) {
    return operator new(size);
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return operator new(size, std::nothrow);
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

void operator delete[](void* memory) noexcept {
    std::free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}
