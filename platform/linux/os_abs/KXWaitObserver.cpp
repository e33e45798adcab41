#include "platform/linux/os_abs/KXWaitObserver.h"

#include "platform/linux/os_abs/KXWaitTicks.h"

#include <atomic>
#include <utility>

namespace KX {

namespace {

std::atomic<KXWaitObserver*> currentObserver{nullptr};

} // namespace

__thread KXWaitObserver* observerOfNextTick = nullptr;

KXWaitObserver::~KXWaitObserver() = default;

void KXWaitObserver::set(KXWaitObserver* observer) {
    currentObserver = observer;
}

KXWatchedWait::KXWatchedWait() : observer(currentObserver) {
    if (observer == nullptr)
        return;
    observerOfNextTick = nullptr;
    observer->onWaitBegins();
}

KXWatchedWait::~KXWatchedWait() {
    if (observer == nullptr)
        return;
    observer->onWaitEnds();
    observerOfNextTick = observer;
}

void tellAwaitedTick(unsigned int tick) {
    KXWaitObserver* const observer = std::exchange(observerOfNextTick, nullptr);
    // One that was replaced meanwhile may be gone.
    if (observer == currentObserver)
        observer->onPassTick(tick);
}

} // namespace KX
