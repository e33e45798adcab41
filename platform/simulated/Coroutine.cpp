#include "platform/simulated/Coroutine.h"

#include <boost/context/preallocated.hpp>
#include <boost/context/protected_fixedsize_stack.hpp>

#include <cxxabi.h>
#include <exception>
#include <memory>
#include <utility>

namespace KX {

namespace {

constexpr std::size_t stackBytes = 1024 * 1024;

// Nobody may touch the page below a stack, so an overflow is noticed.
using Stacks = boost::context::protected_fixedsize_stack;

// The coroutine keeps its stack until it is destroyed.
struct Keeper {
    void deallocate(boost::context::stack_context& /*memory*/) noexcept {}
};

} // namespace

Coroutine::Stack::Stack() : memory(Stacks(stackBytes).allocate()) {}

Coroutine::Stack::~Stack() {
    Stacks(stackBytes).deallocate(memory);
}

Coroutine::Coroutine(std::function<void()> theBody)
    : body(std::move(theBody)), ownReport(static_cast<char*>(stack.memory.sp) - stackBytes, stackBytes) {}

Coroutine::~Coroutine() {
    if (state == begun)
        std::terminate();
}

bool Coroutine::resume() {
    const KXLockGuard guard(resuming);
    swapExceptions();
    callersReport.leaveFor(ownReport);
    if (state == ready)
        begin();
    other = std::move(other).resume();
    callersReport.arriveFrom(ownReport);
    swapExceptions();
    return state == ended;
}

void Coroutine::pause() {
    ownReport.leaveFor(callersReport);
    other = std::move(other).resume();
    ownReport.arriveFrom(callersReport);
}

void Coroutine::begin() {
    const boost::context::preallocated memory(stack.memory.sp, stack.memory.size, stack.memory);
    other = boost::context::fiber(std::allocator_arg, memory, Keeper(),
                                  [this](boost::context::fiber&& resumer) { return run(std::move(resumer)); });
    state = begun;
}

boost::context::fiber Coroutine::run(boost::context::fiber&& resumer) {
    other = std::move(resumer);
    ownReport.arriveFrom(callersReport);
    runBody();
    state = ended;
    ownReport.leaveForEverFor(callersReport);
    return std::move(other);
}

void Coroutine::swapExceptions() {
    std::swap(reinterpret_cast<Exceptions&>(*abi::__cxa_get_globals()), othersExceptions);
}

} // namespace KX
