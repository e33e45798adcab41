#pragma once

#include "platform/linux/hardware/KXFrameObserver.h"
#include "platform/linux/os_abs/KXWaitObserver.h"

namespace Terminal {

class InputGate;
class SessionRecorder;

/// Makes the worker of the input event manager go through a gate before each of its passes, and tells a recorder of
/// what it does. It must outlive the manager; there is one at a time.
class WorkerWatch : private KX::KXWaitObserver, private KX::KXFrameObserver {
public:
    /// \param recorder  may be null
    WorkerWatch(InputGate& gate, SessionRecorder* recorder);
    ~WorkerWatch() override;

    WorkerWatch(const WorkerWatch&) = delete;
    WorkerWatch& operator=(const WorkerWatch&) = delete;

private:
    void onWaitBegins() override;
    void onWaitEnds() override;
    void onPassTick(unsigned int tick) override;
    void onFrameRead(int bus, const KX::KXCANMessage& message) override;

    InputGate& gate;
    SessionRecorder* const recorder;
};

} // namespace Terminal
