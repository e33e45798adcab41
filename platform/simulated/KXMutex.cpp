#include "platform/KXMutex.h"

#include "platform/KXDebug.h"
#include "platform/simulated/Accounts.h"
#include "platform/simulated/Scheduler.h"

#include <atomic>
#include <mutex>

namespace KX {

namespace {

void reportDoubleLock() {
    static const unsigned int key = KXDebug::insertNewDebugSection("kx_mutex");
    KXDebug::debugPrintError(
        1, key, "a thread locks a mutex that it holds already; an after-post hook must not hand input in");
}

class SimulatedMutex : public KXMutex {
public:
    SimulatedMutex() { ++livingObjects.mutexes; }

    ~SimulatedMutex() override { --livingObjects.mutexes; }

    bool lock() override {
        const void* const self = Scheduler::caller();
        if (owner == self) {
            reportDoubleLock();
            return false;
        }
        if (faults.mutexLocks.take())
            return false;
        mutex.lock();
        owner = self;
        return true;
    }

    void unlock() override {
        owner = nullptr;
        mutex.unlock();
    }

private:
    std::mutex mutex;

    // Atomic because lock reads it without the mutex. Only a thread itself writes its mark here and takes it away,
    // so a thread is never wrong about itself.
    std::atomic<const void*> owner{nullptr};
};

} // namespace

KXMutex::KXMutex() = default;
KXMutex::~KXMutex() = default;

KXMutex* KXMutex::create() {
    return faults.mutexes.take() ? nullptr : new SimulatedMutex;
}

KXAutoLock::KXAutoLock(KXMutex* mutex) : heldMutex(mutex && mutex->lock() ? mutex : nullptr) {}

KXAutoLock::~KXAutoLock() {
    if (heldMutex)
        heldMutex->unlock();
}

} // namespace KX
