#include "platform/linux/hardware/KXFrameObserver.h"

#include "platform/linux/hardware/CANSocket.h"

#include <atomic>

namespace KX {

namespace {

std::atomic<KXFrameObserver*> currentObserver{nullptr};

} // namespace

KXFrameObserver::~KXFrameObserver() = default;

void KXFrameObserver::set(KXFrameObserver* observer) {
    currentObserver = observer;
}

void tellFrameRead(int bus, const KXCANMessage& message) {
    if (KXFrameObserver* const observer = currentObserver)
        observer->onFrameRead(bus, message);
}

} // namespace KX
