#pragma once

#include <cstddef>

namespace KX {

/// Tells the sanitizers which stack a thread runs on. There is one object for each stack. It does nothing in a build
/// without sanitizers.
class SwitchReport {
public:
    /// Of the stack on which the thread runs already.
    SwitchReport() = default;

    /// Of a new stack, which stays until this object is destroyed.
    SwitchReport(const void* lowest, std::size_t bytes);

    ~SwitchReport();

    SwitchReport(const SwitchReport&) = delete;
    SwitchReport& operator=(const SwitchReport&) = delete;

    /// The thread is about to go from this stack to \p other.
    void leaveFor(SwitchReport& other);

    /// The same, for the last time.
    void leaveForEverFor(SwitchReport& other);

    /// The thread has come to this stack.
    void arriveFrom(SwitchReport& other);

private:
    [[maybe_unused]] const bool isNew = false;
    [[maybe_unused]] const void* bottom = nullptr; ///< for AddressSanitizer, like the next two
    [[maybe_unused]] std::size_t size = 0;
    [[maybe_unused]] void* fakeStack = nullptr;
    [[maybe_unused]] void* fiber = nullptr; ///< for ThreadSanitizer
};

} // namespace KX
