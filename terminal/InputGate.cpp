#include "terminal/InputGate.h"

void InputGate::beginPass() {
    std::unique_lock<std::mutex> guard(lock);
    changed.wait(guard, [this] { return holds == 0; });
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
    ++gate.holds;
}

InputGate::Hold::~Hold() {
    const std::lock_guard<std::mutex> guard(gate.lock);
    --gate.holds;
    gate.changed.notify_all();
}
