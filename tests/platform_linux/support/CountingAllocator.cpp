#include "support/CountingAllocator.h"

#include <atomic>
#include <cstdlib>
#include <limits>
#include <new>

// In a source of its own, so that the compiler cannot optimise the calls away.

namespace {

std::atomic<long> allocations{0};
constexpr long enough = std::numeric_limits<long>::max();
std::atomic<long> allocationsLeft{enough};

/// Whether the next allocation succeeds.
bool isMemoryLeft() {
    return allocationsLeft == enough || allocationsLeft-- > 0;
}

} // namespace

long countAllocations() {
    return allocations;
}

NoMoreMemory::NoMoreMemory(long successes) {
    allocationsLeft = successes;
}

NoMoreMemory::~NoMoreMemory() {
    allocationsLeft = enough;
}

void* operator new(std::size_t size) {
    ++allocations;
    void* const memory = isMemoryLeft() ? std::malloc(size) : nullptr;
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
