#pragma once

#include "input/KXInputObserver.h"

#include <condition_variable>
#include <mutex>

namespace Terminal {

/// An observer that can keep the worker of the input event manager from its passes: a replay makes the recorded passes
/// itself, and a recording ends between two passes.
class WorkerHold : public KX::KXInputObserver {
public:
    /// Keeps the worker from now on. Waits until it is kept, at most for a second; then there is no worker.
    void keep();

    /// Lets the worker go. To be called before another observer takes the place of this one.
    void release();

    void onPassDue() override;

private:
    std::mutex lock;
    bool isWanted = false; // guarded by lock
    bool isKept = false;   // guarded by lock
    std::condition_variable changed;
};

} // namespace Terminal
