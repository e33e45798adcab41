#pragma once

#include <atomic>

// Counts every allocation of the program and can make some fail. HeapCount.cpp replaces the global operators, so each
// program that includes this header compiles that source, too.

namespace KX::test {

/// Allocations so far.
extern std::atomic<unsigned long> heapAllocations;

/// Allocated blocks that are not freed yet.
extern std::atomic<long> heapBlocks;

/// The allocation of this number fails, once; 0: none.
extern std::atomic<unsigned long> failingAllocation;

/// Asked at each allocation whether it fails; null: none does. \p caller is the code that called the operator.
extern std::atomic<bool (*)(const void* caller)> failsAllocation;

/// While it lives, only the next \p successes allocations of the program succeed.
class NoMoreMemory {
public:
    explicit NoMoreMemory(unsigned long successes = 0);
    ~NoMoreMemory();

    NoMoreMemory(const NoMoreMemory&) = delete;
    NoMoreMemory& operator=(const NoMoreMemory&) = delete;
};

} // namespace KX::test
