#pragma once

#include "platform/KXLocks.h"
#include "platform/simulated/SwitchReport.h"

#include <boost/context/fiber.hpp>
#include <boost/context/stack_context.hpp>

#include <functional>

namespace KX {

/// A function with a stack of its own. It runs on the thread of its caller and can pause in the midst of a call, which
/// takes much less time than to hand over to another thread.
class Coroutine {
public:
    /// Does not run \p body yet.
    /// \throws std::bad_alloc  there is no memory for the stack
    explicit Coroutine(std::function<void()> body);

    /// Ends the program if the body has begun and not ended: nobody could run its destructors any more.
    ~Coroutine();

    Coroutine(const Coroutine&) = delete;
    Coroutine& operator=(const Coroutine&) = delete;

    /// Runs the body until it pauses or ends. An exception that leaves the body ends the program. Any thread: a
    /// second one waits until the body has paused.
    /// \return whether the body has ended, so that nothing may be called any more
    bool resume() KX_EXCLUDES(resuming);

    /// Called by the body: returns from \ref resume, and returns itself in the next one.
    void pause();

private:
    /// The exceptions that a thread handles, in the layout of the C++ run-time library.
    struct Exceptions {
        void* caught = nullptr;
        unsigned int uncaughtCount = 0;
#ifdef __ARM_EABI_UNWINDER__
        void* propagating = nullptr;
#endif
    };

    /// The system makes only those of its pages that are touched.
    class Stack {
    public:
        Stack();
        ~Stack();

        Stack(const Stack&) = delete;
        Stack& operator=(const Stack&) = delete;

        boost::context::stack_context memory;
    };

    void begin() KX_REQUIRES(resuming);

    // On the coroutine's own stack, while the caller holds the lock in resume: clang does not see that.
    boost::context::fiber run(boost::context::fiber&& resumer) KX_NO_THREAD_SAFETY_ANALYSIS;
    void runBody() noexcept {
        body();
    }
    void swapExceptions() KX_REQUIRES(resuming);

    std::function<void()> body;
    KXStdMutex resuming; ///< held until the body has paused
    Stack stack;
    SwitchReport callersReport;
    SwitchReport ownReport;
    boost::context::fiber other; ///< while the body pauses, the body; while it runs, its caller
    enum { ready, begun, ended } state KX_GUARDED_BY(resuming) = ready;

    // Of the caller while the body runs, of the body while it pauses.
    Exceptions othersExceptions KX_GUARDED_BY(resuming);
};

} // namespace KX
