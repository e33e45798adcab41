#pragma once

/// Allocations of the whole program so far, its libraries included.
long countAllocations();

/// Makes allocations by \c new fail, in the whole program, until the end of the scope.
class NoMoreMemory {
public:
    /// \param successes  so many allocations succeed before
    explicit NoMoreMemory(long successes = 0);
    ~NoMoreMemory();

    NoMoreMemory(const NoMoreMemory&) = delete;
    NoMoreMemory& operator=(const NoMoreMemory&) = delete;
};
