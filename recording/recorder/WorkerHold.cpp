#include "recording/KXWorkerHold.h"

#include <chrono>

namespace KX {

KXWorkerHold::~KXWorkerHold() = default;

void KXWorkerHold::keep(unsigned int mostMs) {
    KXUniqueLock guard(lock);
    isWanted = true;
    mostHeldMs = mostMs;
    changed.wait_for(guard, std::chrono::seconds(1), [this]() KX_REQUIRES(lock) { return isKept; });
}

void KXWorkerHold::release() {
    const KXLockGuard guard(lock);
    isWanted = false;
    changed.notify_all();
}

void KXWorkerHold::onPassDue() {
    KXUniqueLock guard(lock);
    isKept = isWanted;
    changed.notify_all();
    const std::chrono::milliseconds longest(mostHeldMs);
    if (!changed.wait_for(guard, longest, [this]() KX_REQUIRES(lock) { return !isWanted; }))
        isWanted = false;
    isKept = false;
}

} // namespace KX
