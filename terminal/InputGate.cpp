#include "terminal/InputGate.h"

void InputGate::beginPass() {
    std::unique_lock<std::mutex> guard(lock);
    changed.wait(guard, [this] { return !isHeld; });
    passGoesOn = true;
}

void InputGate::endPass() {
    const std::lock_guard<std::mutex> guard(lock);
    passGoesOn = false;
    changed.notify_all();
}

InputGate::Hold::Hold(InputGate& heldGate) : gate(heldGate) {
    std::unique_lock<std::mutex> guard(gate.lock);
    gate.changed.wait(guard, [this] { return !gate.passGoesOn; });
    gate.isHeld = true;
}

InputGate::Hold::~Hold() {
    const std::lock_guard<std::mutex> guard(gate.lock);
    gate.isHeld = false;
    gate.changed.notify_all();
}
