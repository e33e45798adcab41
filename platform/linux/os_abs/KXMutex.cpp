#include "platform/KXMutex.h"

#include "platform/KXDebug.h"

#include <cerrno>
#include <memory>
#include <new>
#include <pthread.h>

namespace KX {

namespace {

/// Initialises a mutex that knows its owner: a second lock by the same thread fails instead of blocking for ever.
int initializeMutex(pthread_mutex_t* mutex, int protocol) {
    pthread_mutexattr_t attributes;
    int error = pthread_mutexattr_init(&attributes);
    if (error != 0)
        return error;
    error = pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_ERRORCHECK);
    if (error == 0)
        error = pthread_mutexattr_setprotocol(&attributes, protocol);
    if (error == 0)
        error = pthread_mutex_init(mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
    return error;
}

unsigned int getMutexDebugKey() {
    static const unsigned int key = KXDebug::insertNewDebugSection("kx_mutex");
    return key;
}

/// Registers the section when the library is loaded: a lock must not need memory.
[[maybe_unused]] const unsigned int mutexKeyOfLoadTime = getMutexDebugKey();

[[gnu::noinline]] void reportDoubleLock() {
    KXDebug::debugPrintError(
        1, getMutexDebugKey(),
        "a thread locks a mutex that it holds already; an after-post hook must not hand input in");
}

class PosixMutex final : public KXMutex {
public:
    ~PosixMutex() override {
        if (initialized)
            pthread_mutex_destroy(&mutex);
    }

    bool initialize() {
        int error = initializeMutex(&mutex, PTHREAD_PRIO_INHERIT);
        if (error == ENOTSUP || error == ENOSYS) {
            // A kernel or an emulator without priority inheritance. Mutual exclusion works without it.
            error = initializeMutex(&mutex, PTHREAD_PRIO_NONE);
        }
        initialized = error == 0;
        return initialized;
    }

    bool lock() override {
        const int error = pthread_mutex_lock(&mutex);
        if (error == EDEADLK)
            reportDoubleLock();
        return error == 0;
    }

    void unlock() override { pthread_mutex_unlock(&mutex); }

private:
    pthread_mutex_t mutex;
    bool initialized = false;
};

} // namespace

KXMutex* KXMutex::create() {
    std::unique_ptr<PosixMutex> mutex(new (std::nothrow) PosixMutex);
    if (!mutex || !mutex->initialize())
        return nullptr;
    return mutex.release();
}

KXMutex::KXMutex() = default;
KXMutex::~KXMutex() = default;

KXAutoLock::KXAutoLock(KXMutex* mutex) : heldMutex(mutex && mutex->lock() ? mutex : nullptr) {}

KXAutoLock::~KXAutoLock() {
    if (heldMutex)
        heldMutex->unlock();
}

} // namespace KX
