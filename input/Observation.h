#pragma once

#include "events/KXEvent.h"
#include "input/KXInputObserver.h"

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

    explicit operator bool() const {
        return observer;
    }

    KXInputObserver* operator->() const {
        return observer;
    }

    /// For inputEventOccurred. The observer gets an event of the toolkit as the toolkit reported it.
    [[gnu::noinline, gnu::cold]] void tellInput(const KXInputEvent& event) const;

    /// Whether the calling thread holds the manager's mutex by this observation or one around it.
    bool isHoldingMutex() const {
        return hasBegun;
    }

private:
    // Out of line: observers are rare.
    [[gnu::noinline, gnu::cold]] void begin(const KXInputEventManager* manager);
    [[gnu::noinline, gnu::cold]] void end();

    bool hasBegun = false;
    bool isOutermost = false;
    KXInputObserver* observer = nullptr;
    KXMutex* lockedMutex = nullptr; // locked by this observation
};

/// Keeps an event as the toolkit reported it until inputEventOccurred tells the observer. By then the event itself
/// has the library's type and key code.
class ToolkitReport {
public:
    [[gnu::noinline]] ToolkitReport(const KXInputEventManager* manager, const KXToolkitEvent& event);

    /// Tells the observer of an event of a dropped type, which does not reach inputEventOccurred.
    [[gnu::noinline]] ~ToolkitReport();

    ToolkitReport(const ToolkitReport&) = delete;
    ToolkitReport& operator=(const ToolkitReport&) = delete;

private:
    const KXInputEventManager* const manager;
    const KXToolkitEvent reported;
};

/// Calls onPassDue; the observer may keep the calling thread there.
[[gnu::noinline]] void tellPassDue();

} // namespace KX
