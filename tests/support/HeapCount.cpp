#include "tests/support/HeapCount.h"

#include <cstdlib>
#include <limits>
#include <new>

namespace KX::test {

std::atomic<unsigned long> heapAllocations{0};
std::atomic<long> heapBlocks{0};
std::atomic<unsigned long> failingAllocation{0};
std::atomic<bool (*)(const void* caller)> failsAllocation{nullptr};

namespace {

constexpr unsigned long endless = std::numeric_limits<unsigned long>::max();

std::atomic<unsigned long> lastSuccess{endless};

bool fails(const void* caller) {
    const unsigned long number = ++heapAllocations;
    if (number == failingAllocation || number > lastSuccess)
        return true;
    bool (*const isFailing)(const void*) = failsAllocation;
    return isFailing && isFailing(caller);
}

void* counted(void* memory) {
    if (memory)
        ++heapBlocks;
    return memory;
}

void* allocate(std::size_t size, const void* caller) {
    return counted(fails(caller) ? nullptr : std::malloc(size));
}

void* allocateAligned(std::size_t size, std::align_val_t alignment, const void* caller) {
    const auto bytes = static_cast<std::size_t>(alignment);
    return counted(fails(caller) ? nullptr : std::aligned_alloc(bytes, (size + bytes - 1) / bytes * bytes));
}

void* orThrow(void* memory) {
    if (!memory)
        throw std::bad_alloc();
    return memory;
}

void release(void* memory) {
    if (memory)
        --heapBlocks;
    std::free(memory);
}

} // namespace

NoMoreMemory::NoMoreMemory(unsigned long successes) {
    lastSuccess = heapAllocations + successes;
}

NoMoreMemory::~NoMoreMemory() {
    lastSuccess = endless;
}

} // namespace KX::test

// Replaces all forms, because AddressSanitizer's own forms do not fit together with these.

void* operator new(std::size_t size) {
    return KX::test::orThrow(KX::test::allocate(size, __builtin_return_address(0)));
}

void* operator new[](std::size_t size) {
    return KX::test::orThrow(KX::test::allocate(size, __builtin_return_address(0)));
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return KX::test::allocate(size, __builtin_return_address(0));
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return KX::test::allocate(size, __builtin_return_address(0));
}

// The memory resources of the standard library call these, whatever the alignment.

void* operator new(std::size_t size, std::align_val_t alignment) {
    return KX::test::orThrow(KX::test::allocateAligned(size, alignment, __builtin_return_address(0)));
}

void* operator new[](std::size_t size, std::align_val_t alignment) {
    return KX::test::orThrow(KX::test::allocateAligned(size, alignment, __builtin_return_address(0)));
}

void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return KX::test::allocateAligned(size, alignment, __builtin_return_address(0));
}

void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return KX::test::allocateAligned(size, alignment, __builtin_return_address(0));
}

void operator delete(void* memory, std::align_val_t) noexcept {
    KX::test::release(memory);
}

void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    KX::test::release(memory);
}

void operator delete[](void* memory, std::align_val_t) noexcept {
    KX::test::release(memory);
}

void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept {
    KX::test::release(memory);
}

void operator delete(void* memory) noexcept {
    KX::test::release(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    KX::test::release(memory);
}

void operator delete[](void* memory) noexcept {
    KX::test::release(memory);
}

void operator delete[](void* memory, std::size_t) noexcept {
    KX::test::release(memory);
}
