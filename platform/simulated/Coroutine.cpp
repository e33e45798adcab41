#include "platform/simulated/Coroutine.h"

#include <cxxabi.h>
#include <exception>
#include <utility>

namespace KX {

namespace {

// The coroutine that begins on this thread: a new stack has no arguments.
thread_local Coroutine* beginning = nullptr;

} // namespace

Coroutine::Coroutine(std::function<void()> theBody) : body(std::move(theBody)) {}

Coroutine::~Coroutine() {
    if (state == begun)
        std::terminate();
}

bool Coroutine::resume() {
    const KXLockGuard guard(resuming);
    if (state == ready)
        beginning = this;
    swapExceptions();
    caller.switchTo(own);
    swapExceptions();
    return state == ended;
}

void Coroutine::pause() {
    own.switchTo(caller);
}

void Coroutine::begin() {
    Coroutine& self = *beginning;
    self.own.hasBegunFrom(self.caller);
    self.state = begun;
    self.run();
    self.state = ended;
    self.own.leaveFor(self.caller);
}

void Coroutine::run() noexcept {
    body();
}

void Coroutine::swapExceptions() {
    std::swap(reinterpret_cast<Exceptions&>(*abi::__cxa_get_globals()), othersExceptions);
}

} // namespace KX
