#include "platform/simulated/Stack.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

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
#include <dlfcn.h>
#include <sanitizer/common_interface_defs.h>
#include <sanitizer/lsan_interface.h>
#elif defined(KX_THREAD_SANITIZER)
#include <sanitizer/tsan_interface.h>
#endif

namespace KX {

namespace {

constexpr std::size_t newStackSize = 1024 * 1024; // only pages that are touched take memory

std::size_t guardSize() {
    return static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

// Nobody may touch the page below, so an overflow is noticed.
char* makeStack() {
    void* const memory = mmap(nullptr, guardSize() + newStackSize, PROT_READ | PROT_WRITE,
                              MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1, 0);
    if (memory == MAP_FAILED)
        throw std::system_error(errno, std::generic_category(), "no memory for a stack");
    mprotect(memory, guardSize(), PROT_NONE);
    return static_cast<char*>(memory) + guardSize();
}

#if defined(KX_ADDRESS_SANITIZER)

void swapContexts(ucontext_t& from, const ucontext_t& to) {
    // AddressSanitizer's own swapcontext prints a warning, although it is told of the switch.
    static const auto swap = reinterpret_cast<int (*)(ucontext_t*, const ucontext_t*)>(
        dlsym(dlopen("libc.so.6", RTLD_LAZY | RTLD_NOLOAD), "swapcontext"));
    swap(&from, &to);
}

#else

void swapContexts(ucontext_t& from, const ucontext_t& to) {
    swapcontext(&from, &to);
}

#endif

} // namespace

Stack::Stack() = default;

Stack::Stack(void (*begin)()) : memory(makeStack()), bottom(memory), size(newStackSize) {
    getcontext(&context);
    context.uc_stack.ss_sp = memory;
    context.uc_stack.ss_size = size;
    makecontext(&context, begin, 0);
#if defined(KX_ADDRESS_SANITIZER)
    __lsan_register_root_region(bottom, size); // what only this stack refers to is no leak
#elif defined(KX_THREAD_SANITIZER)
    fiber = __tsan_create_fiber(0);
#endif
}

Stack::~Stack() {
    if (!memory)
        return;
#if defined(KX_ADDRESS_SANITIZER)
    __lsan_unregister_root_region(bottom, size);
#elif defined(KX_THREAD_SANITIZER)
    __tsan_destroy_fiber(fiber);
#endif
    munmap(memory - guardSize(), guardSize() + newStackSize);
}

void Stack::switchTo(Stack& other) {
#if defined(KX_ADDRESS_SANITIZER)
    __sanitizer_start_switch_fiber(&fakeStack, other.bottom, other.size);
#elif defined(KX_THREAD_SANITIZER)
    fiber = __tsan_get_current_fiber();
    __tsan_switch_to_fiber(other.fiber, 0);
#endif
    swapContexts(context, other.context);
    tellArrivalFrom(other);
}

void Stack::leaveFor(Stack& other) {
#if defined(KX_ADDRESS_SANITIZER)
    __sanitizer_start_switch_fiber(nullptr, other.bottom, other.size);
#elif defined(KX_THREAD_SANITIZER)
    __tsan_switch_to_fiber(other.fiber, 0);
#endif
    swapContexts(context, other.context);
}

void Stack::hasBegunFrom(Stack& other) {
    tellArrivalFrom(other);
}

void Stack::tellArrivalFrom([[maybe_unused]] Stack& other) {
#if defined(KX_ADDRESS_SANITIZER)
    __sanitizer_finish_switch_fiber(fakeStack, &other.bottom, &other.size);
#endif
}

} // namespace KX
