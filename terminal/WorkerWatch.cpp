#include "terminal/WorkerWatch.h"

#include "terminal/InputGate.h"
#include "terminal/SessionRecorder.h"

#include <string>

namespace Terminal {

WorkerWatch::WorkerWatch(InputGate& inputGate, SessionRecorder* sessionRecorder)
    : gate(inputGate), recorder(sessionRecorder) {
    KXWaitObserver::set(this);
    KXFrameObserver::set(this);
}

WorkerWatch::~WorkerWatch() {
    KXFrameObserver::set(nullptr);
    KXWaitObserver::set(nullptr);
}

void WorkerWatch::onWaitBegins() {
    gate.endPass();
}

void WorkerWatch::onWaitEnds() {
    gate.beginPass();
}

void WorkerWatch::onPassTick(unsigned int tick) {
    if (recorder)
        recorder->notePass(tick);
}

void WorkerWatch::onFrameRead(int bus, const KX::KXCANMessage& message) {
    // By the number that the library knows it by: the name of the interface may be another on the next machine.
    if (recorder)
        recorder->note(Recording::Frame{"can" + std::to_string(bus), message});
}

} // namespace Terminal
