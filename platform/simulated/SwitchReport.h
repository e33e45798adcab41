#pragma once

#include <cstddef>

#if defined(__SANITIZE_ADDRESS__)
#define KX_ADDRESS_SANITIZER
#elif defined(__SANITIZE_THREAD__)
#define KX_THREAD_SANITIZER
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KX_ADDRESS_SANITIZER
#elif __has_feature(thread_sanitizer)
#define KX_THREAD_SANITIZER
#endif
#endif

#if defined(KX_ADDRESS_SANITIZER)
#include <sanitizer/common_interface_defs.h>
#include <sanitizer/lsan_interface.h>
#elif defined(KX_THREAD_SANITIZER)
#include <sanitizer/tsan_interface.h>
#endif

namespace KX {

/// Tells the sanitizers which stack a thread runs on. There is one object for each stack. It does nothing in a build
/// without sanitizers. Its functions are always inlined: ThreadSanitizer notes each call and each return for the stack
/// on which it believes the thread to be, and a switch in between would put them on two.
class SwitchReport {
public:
    /// Of the stack on which the thread runs already.
    SwitchReport() = default;

    /// Of a new stack, which stays until this object is destroyed.
    SwitchReport(const void* lowest, std::size_t bytes) : isNew(true), bottom(lowest), size(bytes) {
#if defined(KX_ADDRESS_SANITIZER)
        __lsan_register_root_region(bottom, size); // what only this stack refers to is no leak
#elif defined(KX_THREAD_SANITIZER)
        fiber = __tsan_create_fiber(0);
#endif
    }

    ~SwitchReport() {
#if defined(KX_ADDRESS_SANITIZER)
        if (isNew)
            __lsan_unregister_root_region(bottom, size);
#elif defined(KX_THREAD_SANITIZER)
        if (isNew)
            __tsan_destroy_fiber(fiber);
#endif
    }

    SwitchReport(const SwitchReport&) = delete;
    SwitchReport& operator=(const SwitchReport&) = delete;

    /// The thread is about to go from this stack to \p other.
    [[gnu::always_inline]] void leaveFor([[maybe_unused]] SwitchReport& other) {
#if defined(KX_ADDRESS_SANITIZER)
        __sanitizer_start_switch_fiber(&fakeStack, other.bottom, other.size);
#elif defined(KX_THREAD_SANITIZER)
        fiber = __tsan_get_current_fiber();
        __tsan_switch_to_fiber(other.fiber, 0);
#endif
    }

    /// The same, for the last time. Functions of this stack still return.
    [[gnu::always_inline]] void leaveForEverFor([[maybe_unused]] SwitchReport& other) {
#if defined(KX_ADDRESS_SANITIZER)
        __sanitizer_start_switch_fiber(nullptr, other.bottom, other.size);
#endif
    }

    /// The thread has come to this stack.
    [[gnu::always_inline]] void arriveFrom([[maybe_unused]] SwitchReport& other) {
#if defined(KX_ADDRESS_SANITIZER)
        __sanitizer_finish_switch_fiber(fakeStack, &other.bottom, &other.size);
#elif defined(KX_THREAD_SANITIZER)
        if (__tsan_get_current_fiber() != fiber) // the other one has left for ever
            __tsan_switch_to_fiber(fiber, 0);
#endif
    }

private:
    [[maybe_unused]] const bool isNew = false;
    [[maybe_unused]] const void* bottom = nullptr; ///< for AddressSanitizer, like the next two
    [[maybe_unused]] std::size_t size = 0;
    [[maybe_unused]] void* fakeStack = nullptr;
    [[maybe_unused]] void* fiber = nullptr; ///< for ThreadSanitizer
};

} // namespace KX
