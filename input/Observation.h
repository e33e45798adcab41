#pragma once

#include "events/KXEvent.h"
#include "input/KXInputObserver.h"
#include "platform/KXThreadSafety.h"

#include <atomic>

namespace KX {

class KXInputEventManager;
class KXMutex;

/// The observer of the process, or null. Changes with the manager's mutex held.
extern std::atomic<KXInputObserver*> inputObserver;

/// Tells the observer of one input under the manager's mutex, so that it sees inputs in the manager's order.
///
/// Without an observer it only reads a variable. With one it holds the mutex until it is destroyed. It does not
/// lock again inside another observation of the same thread: an after-post hook may change a setting.
class Observation {
public:
    /// \param manager  the owner of the mutex to lock; null: none
    explicit Observation(const KXInputEventManager* manager) {
        if (inputObserver.load(std::memory_order_relaxed))
            begin(manager);
    }

    /// For a thread that has locked the mutex itself.
    enum MutexIsHeld { mutexIsHeld };
    explicit Observation(MutexIsHeld) : Observation(nullptr) {}

    ~Observation() {
        if (hasBegun)
            end();
    }

    Observation(const Observation&) = delete;
    Observation& operator=(const Observation&) = delete;

    explicit operator bool() const { return observer; }

    KXInputObserver* operator->() const { return observer; }

    /// For inputEventOccurred. The observer gets an event of the toolkit as the toolkit reported it.
    [[gnu::noinline, gnu::cold]] void tellInput(const KXInputEvent& event) const;

private:
    // Out of line: observers are rare. Only an outermost observation locks, which clang cannot follow.
    [[gnu::noinline, gnu::cold]] void begin(const KXInputEventManager* manager) KX_NO_THREAD_SAFETY_ANALYSIS;
    [[gnu::noinline, gnu::cold]] void end() KX_NO_THREAD_SAFETY_ANALYSIS;

    bool hasBegun = false;
    bool isOutermost = false;
    KXInputObserver* observer = nullptr;
    KXMutex* lockedMutex = nullptr; // locked by this observation
};

/// Keeps an event as the toolkit reported it until inputEventOccurred tells the observer. By then the event itself
/// has the library's type and key code.
class ToolkitReport {
public:
    [[gnu::noinline]] explicit ToolkitReport(const KXToolkitEvent& event);
    [[gnu::noinline]] ~ToolkitReport();

    /// Tells of an event that did not come to inputEventOccurred, because its type is dropped.
    [[gnu::noinline]] void tellUnlessTold(const KXInputEventManager* manager);

    ToolkitReport(const ToolkitReport&) = delete;
    ToolkitReport& operator=(const ToolkitReport&) = delete;

private:
    friend class Observation;

    const KXInputEvent* const forwarded; ///< the event itself
    const KXToolkitEvent reported;
    ToolkitReport* const outer; ///< of this thread: an override may report another event
    bool isTold = false;
};

/// Calls onPassDue; the observer may keep the calling thread there.
[[gnu::noinline]] void tellPassDue();

} // namespace KX
