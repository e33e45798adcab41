#pragma once

#include "events/KXEvent.h"
#include "input/KXInputObserver.h"

#include <atomic>

namespace KX {

class KXInputEventManager;
class KXMutex;

/// The observer of the process; null: nobody. It changes with the manager's mutex held.
extern std::atomic<KXInputObserver*> inputObserver;

/// Tells the observer of one input while the manager takes it, so that the observer sees inputs in the manager's order.
///
/// While nobody observes it is one look at a variable. Else it holds the manager's mutex for as long as it lives,
/// unless the thread holds it by an observation already: an after-post hook may change a setting.
class Observation {
public:
    /// \param manager  whose mutex is to be locked; null: none
    explicit Observation(const KXInputEventManager* manager) {
        if (inputObserver.load(std::memory_order_relaxed))
            begin(manager);
    }

    /// For a thread that has locked the manager's mutex itself.
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

    /// Tells of an event that has come to inputEventOccurred: as the toolkit reported it, when it did.
    [[gnu::noinline, gnu::cold]] void tellInput(const KXInputEvent& event) const;

    /// Whether the calling thread holds the manager's mutex by this observation or one around it.
    bool isHoldingMutex() const {
        return hasBegun;
    }

private:
    // Out of line, because hardly ever anybody observes.
    [[gnu::noinline, gnu::cold]] void begin(const KXInputEventManager* manager);
    [[gnu::noinline, gnu::cold]] void end();

    bool hasBegun = false;
    bool isOutermost = false;
    KXInputObserver* observer = nullptr;
    KXMutex* lockedMutex = nullptr; // by this observation
};

/// Keeps an event as the toolkit reported it until inputEventOccurred has the mutex and tells of it: by then the event
/// itself has got the library's type and key code.
class ToolkitReport {
public:
    [[gnu::noinline]] ToolkitReport(const KXInputEventManager* manager, const KXToolkitEvent& event);

    /// Tells of an event that did not come to inputEventOccurred, because its type is dropped.
    [[gnu::noinline]] ~ToolkitReport();

    ToolkitReport(const ToolkitReport&) = delete;
    ToolkitReport& operator=(const ToolkitReport&) = delete;

private:
    const KXInputEventManager* const manager;
    const KXToolkitEvent reported;
};

/// Makes the calling thread wait as long as the observer wants to put off the worker's pass.
[[gnu::noinline]] void tellPassDue();

} // namespace KX
