#include "terminal/InputGate.h"

namespace Terminal {

void InputGate::enter(std::unique_lock<std::mutex>& guard) {
    const unsigned int number = nextNumber++;
    changed.wait(guard, [this, number] { return servedNumber == number; });
}

void InputGate::leave() {
    ++servedNumber;
    changed.notify_all();
}

void InputGate::beginPass() {
    std::unique_lock<std::mutex> guard(lock);
    enter(guard);
    passGoesOn = true;
}

void InputGate::endPass() {
    const std::lock_guard<std::mutex> guard(lock);
    // The first wait of a worker comes before its first pass.
    if (!passGoesOn)
        return;
    passGoesOn = false;
    leave();
}

InputGate::Hold::Hold(InputGate& heldGate) : gate(heldGate) {
    std::unique_lock<std::mutex> guard(gate.lock);
    if (gate.holds == 0)
        gate.enter(guard);
    ++gate.holds;
}

InputGate::Hold::~Hold() {
    const std::lock_guard<std::mutex> guard(gate.lock);
    if (--gate.holds == 0)
        gate.leave();
}

} // namespace Terminal
