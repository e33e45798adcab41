#include "platform/KXThread.h"

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <new>
#include <pthread.h>
#include <sched.h>
#include <unistd.h>

namespace KX {

namespace {

const int statusRefused = 20;
const int statusOutOfRange = 24;

/// The kernel keeps that many characters of a name and refuses a longer one.
const std::size_t longestName = 15;

/// What a thread is made with; destroyed once it runs.
class ThreadAttributes {
public:
    ThreadAttributes() : error(pthread_attr_init(&attributes)), initialized(error == 0) {}

    ~ThreadAttributes() {
        if (initialized)
            pthread_attr_destroy(&attributes);
    }

    ThreadAttributes(const ThreadAttributes&) = delete;
    ThreadAttributes& operator=(const ThreadAttributes&) = delete;

    void setStackSize(std::size_t bytes) {
        apply([&] { return pthread_attr_setstacksize(&attributes, bytes); });
    }

    void setRealTimePriority(int priority) {
        // Without this one the next two are stored and then ignored in favour of the creating thread's.
        apply([&] { return pthread_attr_setinheritsched(&attributes, PTHREAD_EXPLICIT_SCHED); });
        apply([&] { return pthread_attr_setschedpolicy(&attributes, SCHED_FIFO); });
        apply([&] {
            sched_param parameter{};
            parameter.sched_priority = priority;
            return pthread_attr_setschedparam(&attributes, &parameter);
        });
    }

    int getError() const {
        return error;
    }

    const pthread_attr_t* get() const {
        return &attributes;
    }

private:
    template<typename Setter>
    void apply(Setter setter) {
        if (error == 0)
            error = setter();
    }

    pthread_attr_t attributes;
    int error;
    bool initialized;
};

/// The object of the calling thread; null for one that was not made here. Only ever compared.
thread_local const void* ownThread = nullptr;

/// The kernel's number of the calling thread; 0 until it is known. Asked for with every posted action, so it has a
/// place among what every thread is born with, which is found without a call.
thread_local unsigned int ownID __attribute__((tls_model("initial-exec"))) = 0;

/// The one thread of a child has another number than the one that it is a copy of.
void forgetOwnID() {
    ownID = 0;
}

/// Whether a number may be kept: not before this library is initialised, and not without memory for the handler.
const bool isForgottenByChildren = pthread_atfork(nullptr, nullptr, &forgetOwnID) == 0;

unsigned int askForOwnID() {
    const auto id = static_cast<unsigned int>(gettid());
    if (isForgottenByChildren)
        ownID = id;
    return id;
}

/// Used by one owner; only \ref running is shared with the thread itself.
class PosixThread final : public KXThread {
public:
    explicit PosixThread(const std::string& nameOfThread) : name(nameOfThread.substr(0, longestName)) {}

    ~PosixThread() override {
        stopAndWait();
    }

    void setEntryFunction(void* (*function)(void*), void* argument) override {
        entryFunction = function;
        entryArgument = argument;
    }

    int start(int priority, unsigned int stackSize) override;
    int stopAndWait() override;

private:
    static void* run(void* self);
    int launch(const ThreadAttributes& attributes);

    const std::string name; // never changes, so the thread reads it without a lock
    void* (*entryFunction)(void*) = nullptr;
    void* entryArgument = nullptr;

    pthread_t thread{};
    bool joinable = false;

    // What the thread runs: copied before it exists, so that a later setEntryFunction cannot race with it.
    void* (*runningFunction)(void*) = nullptr;
    void* runningArgument = nullptr;

    std::atomic<bool> running{false};
};

int PosixThread::start(int priority, unsigned int stackSize) {
    if (running.load() || entryFunction == nullptr)
        return statusRefused;
    if (priority != 0 &&
        (priority < sched_get_priority_min(SCHED_FIFO) || priority > sched_get_priority_max(SCHED_FIFO)))
        return statusOutOfRange;
    ThreadAttributes attributes;
    if (stackSize != 0)
        attributes.setStackSize(stackSize);
    if (priority != 0)
        attributes.setRealTimePriority(priority);
    if (attributes.getError() != 0) {
        // EINVAL: the stack is smaller than the system's least. Anything else is a lack of memory.
        return attributes.getError() == EINVAL ? statusOutOfRange : statusRefused;
    }
    // An earlier run has ended by itself but nobody has waited for it yet.
    return stopAndWait() == 0 ? launch(attributes) : statusRefused;
}

int PosixThread::launch(const ThreadAttributes& attributes) {
    runningFunction = entryFunction;
    runningArgument = entryArgument;
    running = true;
    const int error = pthread_create(&thread, attributes.get(), &PosixThread::run, this);
    if (error != 0) {
        running = false;
        // EINVAL: the stack does not hold what every thread of this program needs. EPERM: real-time priority
        // is not allowed to us. EAGAIN: the system is at its limit of threads or memory.
        return error == EINVAL ? statusOutOfRange : statusRefused;
    }
    joinable = true;
    return 0;
}

void* PosixThread::run(void* self) {
    // Also when the function leaves by pthread_exit.
    struct Ending {
        PosixThread* thread;
        ~Ending() {
            thread->running = false;
        }
    } ending{static_cast<PosixThread*>(self)};
    ownThread = self;

    // Fails only for a name that is too long; a thread without its name would still do its work.
    pthread_setname_np(pthread_self(), ending.thread->name.c_str());
    return ending.thread->runningFunction(ending.thread->runningArgument);
}

int PosixThread::stopAndWait() {
    if (ownThread == this) {
        // It would wait for its own end. Asked first: what follows belongs to the owner, who may be writing it.
        return statusRefused;
    }
    if (!joinable)
        return 0;
    if (pthread_join(thread, nullptr) != 0) {
        // EDEADLK: that thread waits for this one.
        return statusRefused;
    }
    joinable = false;
    return 0;
}

} // namespace

KXThread* KXThread::create(const std::string& name) {
    try {
        return new PosixThread(name);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

unsigned int KXThread::getCurrentThreadID() {
    return ownID != 0 ? ownID : askForOwnID();
}

KXThread::KXThread() = default;
KXThread::~KXThread() = default;

} // namespace KX
