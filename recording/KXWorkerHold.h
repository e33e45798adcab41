#pragma once

#include "input/KXInputObserver.h"
#include "platform/KXExport.h"

#include <condition_variable>
#include <mutex>

namespace KX {

/// An observer that can keep the worker of the input event manager from its passes: a replay makes the recorded passes
/// itself, and a recording may end between two passes. Any thread.
class KX_RECORDING_API KXWorkerHold : public KXInputObserver {
public:
    ~KXWorkerHold() override;

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

} // namespace KX
