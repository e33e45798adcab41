#pragma once

#include <chrono>
#include <functional>

/// Waits until a condition holds that another thread or the kernel brings about.
/// \return false when it does not hold within the limit, which is long for any machine
bool waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit = std::chrono::seconds(20));

/// Milliseconds since a fixed moment, by a clock that the library does not use.
long long getSteadyMs();

/// Descriptors that this process has open.
int countOpenDescriptors();

/// Processor time of the calling thread, in milliseconds.
long long getThreadCpuMs();
