#include "support/CountingAllocator.h"

#include <atomic>
#include <cstdlib>
#include <new>

// In a source of its own, so that the compiler cannot optimise the calls away.

namespace {

std::atomic<long> allocations{0};
std::atomic<bool> isMemoryLeft{true};

} // namespace

long countAllocations() {
    return allocations;
}

NoMoreMemory::NoMoreMemory() {
    isMemoryLeft = false;
}

NoMoreMemory::~NoMoreMemory() {
    isMemoryLeft = true;
}

void* operator new(std::size_t size) {
    ++allocations;
    void* const memory = isMemoryLeft ? std::malloc(size) : nullptr;
    if (!memory)
        throw std::bad_alloc();
    return memory;
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
