#pragma once

/// Allocations of the whole program so far, its libraries included.
long countAllocations();

/// Makes every allocation by \c new fail, in the whole program, until the end of the scope.
class NoMoreMemory {
public:
    NoMoreMemory();
    ~NoMoreMemory();

    NoMoreMemory(const NoMoreMemory&) = delete;
    NoMoreMemory& operator=(const NoMoreMemory&) = delete;
};
