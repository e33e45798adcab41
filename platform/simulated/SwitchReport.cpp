#include "platform/simulated/SwitchReport.h"

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

#if defined(KX_ADDRESS_SANITIZER)

SwitchReport::SwitchReport(const void* lowest, std::size_t bytes) : isNew(true), bottom(lowest), size(bytes) {
    __lsan_register_root_region(bottom, size); // what only this stack refers to is no leak
}

SwitchReport::~SwitchReport() {
    if (isNew)
        __lsan_unregister_root_region(bottom, size);
}

void SwitchReport::leaveFor(SwitchReport& other) {
    __sanitizer_start_switch_fiber(&fakeStack, other.bottom, other.size);
}

void SwitchReport::leaveForEverFor(SwitchReport& other) {
    __sanitizer_start_switch_fiber(nullptr, other.bottom, other.size);
}

void SwitchReport::arriveFrom(SwitchReport& other) {
    __sanitizer_finish_switch_fiber(fakeStack, &other.bottom, &other.size);
}

#elif defined(KX_THREAD_SANITIZER)

SwitchReport::SwitchReport(const void* /*lowest*/, std::size_t /*bytes*/)
    : isNew(true), fiber(__tsan_create_fiber(0)) {}

SwitchReport::~SwitchReport() {
    if (isNew)
        __tsan_destroy_fiber(fiber);
}

void SwitchReport::leaveFor(SwitchReport& other) {
    fiber = __tsan_get_current_fiber();
    __tsan_switch_to_fiber(other.fiber, 0);
}

void SwitchReport::leaveForEverFor(SwitchReport& other) {
    __tsan_switch_to_fiber(other.fiber, 0);
}

void SwitchReport::arriveFrom(SwitchReport& /*other*/) {}

#else

SwitchReport::SwitchReport(const void* /*lowest*/, std::size_t /*bytes*/) {}
SwitchReport::~SwitchReport() = default;
void SwitchReport::leaveFor(SwitchReport& /*other*/) {}
void SwitchReport::leaveForEverFor(SwitchReport& /*other*/) {}
void SwitchReport::arriveFrom(SwitchReport& /*other*/) {}

#endif

} // namespace KX
