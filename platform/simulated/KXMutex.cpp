#include "platform/KXMutex.h"

#include "platform/simulated/Accounts.h"

#include <mutex>

namespace KX {

namespace {

class SimulatedMutex : public KXMutex {
public:
    SimulatedMutex() {
        ++simulated::living.mutexes;
    }

    ~SimulatedMutex() override {
        --simulated::living.mutexes;
    }

    bool lock() override {
        if (simulated::faults.mutexLocks.take())
            return false;
        mutex.lock();
        return true;
    }

    void unlock() override {
        mutex.unlock();
    }

private:
    std::mutex mutex;
};

} // namespace

KXMutex::KXMutex() = default;
KXMutex::~KXMutex() = default;

KXMutex* KXMutex::create() {
    return simulated::faults.mutexes.take() ? nullptr : new SimulatedMutex;
}

KXAutoLock::KXAutoLock(KXMutex* mutex) : heldMutex(mutex != nullptr && mutex->lock() ? mutex : nullptr) {}

KXAutoLock::~KXAutoLock() {
    if (heldMutex != nullptr)
        heldMutex->unlock();
}

} // namespace KX
