#pragma once

#include "input/KXInputObserver.h"
#include "platform/KXExport.h"
#include "platform/KXLocks.h"

#include <condition_variable>

namespace KX {

/// An observer that can keep the worker of the input event manager from its passes: a replay makes the recorded passes
/// itself, and a recording may end between two passes. Any thread.
class KX_RECORDING_API KXWorkerHold : public KXInputObserver {
public:
    ~KXWorkerHold() override;

    static constexpr unsigned int longestMs = 0xFFFFFFFF; ///< 49 days

    /// Keeps the worker from now on. Blocks until it is kept, at most for a second: if that passes, no worker runs.
    /// \param mostMs  the worker goes on after this time at the latest. KXInputEventManager::deleteInstance and
    ///                setObserver wait for the worker: if you keep it for long, call \ref release first.
    void keep(unsigned int mostMs = longestMs);

    /// Lets the worker go on. Does not wait for it. Call it before another observer takes the place of this one.
    void release();

    void onPassDue() override;

private:
    KXStdMutex lock;
    bool isWanted KX_GUARDED_BY(lock) = false;
    bool isKept KX_GUARDED_BY(lock) = false;
    unsigned int mostHeldMs KX_GUARDED_BY(lock) = longestMs;
    std::condition_variable changed;
};

} // namespace KX
