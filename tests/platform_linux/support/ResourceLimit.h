#pragma once

#include <cstddef>
#include <sys/resource.h>
#include <sys/types.h>

/// Refuses the process any further descriptor, or all but some, until the end of the scope.
class NoMoreDescriptors {
public:
    /// \param successes  so many are given before
    explicit NoMoreDescriptors(int successes = 0);
    ~NoMoreDescriptors();

    NoMoreDescriptors(const NoMoreDescriptors&) = delete;
    NoMoreDescriptors& operator=(const NoMoreDescriptors&) = delete;

private:
    rlimit before{};
};

/// Refuses the process large further mappings of memory until the end of the scope.
class NoMoreAddressSpace {
public:
    NoMoreAddressSpace();
    ~NoMoreAddressSpace();

    /// Whether a mapping of \p bytes is refused; an emulator of a 64-bit processor does not keep to the limit.
    bool refuses(std::size_t bytes) const;

    NoMoreAddressSpace(const NoMoreAddressSpace&) = delete;
    NoMoreAddressSpace& operator=(const NoMoreAddressSpace&) = delete;

private:
    rlimit before{};
};

/// Takes the administrator's rights from the calling thread until the end of the scope.
class NoAdministrator {
public:
    NoAdministrator();
    ~NoAdministrator();

    NoAdministrator(const NoAdministrator&) = delete;
    NoAdministrator& operator=(const NoAdministrator&) = delete;

private:
    const uid_t userBefore;
};

/// Takes the right to real-time priorities from the calling thread, the administrator's too, until the end of the
/// scope.
class NoRealTimePriority {
public:
    NoRealTimePriority();
    ~NoRealTimePriority();

    NoRealTimePriority(const NoRealTimePriority&) = delete;
    NoRealTimePriority& operator=(const NoRealTimePriority&) = delete;

private:
    rlimit before{};
    NoAdministrator ordinary;
};
