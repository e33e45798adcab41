#pragma once

#include <sys/resource.h>
#include <sys/types.h>

/// Lets the process have no descriptor more than it has, until the end of the scope.
class NoMoreDescriptors {
public:
    NoMoreDescriptors();
    ~NoMoreDescriptors();

    NoMoreDescriptors(const NoMoreDescriptors&) = delete;
    NoMoreDescriptors& operator=(const NoMoreDescriptors&) = delete;

private:
    rlimit before{};
};

/// Lets the process map hardly more memory than it has, until the end of the scope.
class NoMoreAddressSpace {
public:
    NoMoreAddressSpace();
    ~NoMoreAddressSpace();

    NoMoreAddressSpace(const NoMoreAddressSpace&) = delete;
    NoMoreAddressSpace& operator=(const NoMoreAddressSpace&) = delete;

private:
    rlimit before{};
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
    uid_t userBefore;
};
