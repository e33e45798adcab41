#include "recording/KXWorkerHold.h"

#include <chrono>

namespace KX {

KXWorkerHold::~KXWorkerHold() = default;

void KXWorkerHold::keep(unsigned int mostMs) {
    std::unique_lock<std::mutex> guard(lock);
    isWanted = true;
    mostHeldMs = mostMs;
    changed.wait_for(guard, std::chrono::seconds(1), [this] { return isKept; });
}

void KXWorkerHold::release() {
    const std::lock_guard<std::mutex> guard(lock);
    isWanted = false;
    changed.notify_all();
}

void KXWorkerHold::onPassDue() {
    std::unique_lock<std::mutex> guard(lock);
    isKept = isWanted;
    changed.notify_all();
    if (!changed.wait_for(guard, std::chrono::milliseconds(mostHeldMs), [this] { return !isWanted; }))
        isWanted = false;
    isKept = false;
}

} // namespace KX
