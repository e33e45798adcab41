#include "platform/KXThread.h"

#include "platform/KXDebug.h"
#include "platform/KXLocks.h"
#include "platform/KXStatus.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <new>
#include <pthread.h>
#include <sched.h>
#include <unistd.h>

namespace KX {

namespace {

/// The kernel keeps that many characters of a name and refuses a longer one.
constexpr std::size_t longestName = 15;

unsigned int getDebugKey() {
    static const unsigned int key = KXDebug::insertNewDebugSection("kx_thread");
    return key;
}

/// Registers the section when the library is loaded: a lack of memory can be reported only if it is there already.
[[maybe_unused]] const unsigned int keyOfLoadTime = getDebugKey();

/// The attributes of a thread that is about to start.
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
        // Otherwise the thread inherits the scheduling of its creator, and the next two have no effect.
        apply([&] { return pthread_attr_setinheritsched(&attributes, PTHREAD_EXPLICIT_SCHED); });
        apply([&] { return pthread_attr_setschedpolicy(&attributes, SCHED_FIFO); });
        apply([&] {
            sched_param parameter{};
            parameter.sched_priority = priority;
            return pthread_attr_setschedparam(&attributes, &parameter);
        });
    }

    int getError() const { return error; }

    const pthread_attr_t* get() const { return &attributes; }

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

class PosixThread;

/// The PosixThread of the calling thread; null for a thread that was not started here. It exists as long as the thread.
thread_local PosixThread* ownThread = nullptr;

/// Guards which thread waits for which. The C library does not notice threads that wait for each other.
KXStdMutex waitsMutex;

/// The kernel's number of the calling thread; 0 until it is known. Every posted action asks for it, so it is
/// cached, in the kind of thread-local storage that is read without a function call.
thread_local unsigned int ownID __attribute__((tls_model("initial-exec"))) = 0;

/// A forked child has a copy of the cached number, but its thread has a new one.
void forgetOwnID() {
    ownID = 0;
}

/// Whether numbers may be cached: not before this library is initialised, and not if the handler is refused.
const bool isForgottenByChildren = pthread_atfork(nullptr, nullptr, &forgetOwnID) == 0;

unsigned int askForOwnID() {
    const auto id = static_cast<unsigned int>(gettid());
    if (isForgottenByChildren)
        ownID = id;
    return id;
}

/// The library prints to std::cout and std::cerr on its worker. A reader that has gone must not end the program.
void blockPipeSignal() {
    sigset_t pipeSignal;
    sigemptyset(&pipeSignal);
    sigaddset(&pipeSignal, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipeSignal, nullptr);
}

/// One owner uses it; only \ref running is shared with the thread itself.
class PosixThread final : public KXThread {
public:
    explicit PosixThread(const std::string& nameOfThread) : name(nameOfThread.substr(0, longestName)) {}

    ~PosixThread() override { stopAndWait(); }

    void setEntryFunction(void* (*function)(void*), void* argument) override {
        entryFunction = function;
        entryArgument = argument;
    }

    int start(int priority, unsigned int stackSize) override;
    int stopAndWait() override;

private:
    static void* run(void* self);
    int launch(int priority, unsigned int stackSize);
    int launch(const ThreadAttributes& attributes, int priority, unsigned int stackSize);

    /// Reports why the thread is not started.
    /// \return \p status
    int refuse(KXStatus status, const char* reason, ...) const __attribute__((format(printf, 3, 4)));

    /// Notes that the calling thread waits for this one.
    /// \return false when this one waits for the calling thread, directly or by way of others
    bool beginWait() KX_EXCLUDES(waitsMutex);
    static void endWait() KX_EXCLUDES(waitsMutex);

    const std::string name; // never changes, so the thread reads it without a lock
    void* (*entryFunction)(void*) = nullptr;
    void* entryArgument = nullptr;

    pthread_t thread{};
    bool joinable = false;

    // The thread runs these copies, made before it exists. A later setEntryFunction cannot race with it.
    void* (*runningFunction)(void*) = nullptr;
    void* runningArgument = nullptr;

    std::atomic<bool> running{false};

    const PosixThread* waitsFor KX_GUARDED_BY(waitsMutex) = nullptr;
};

int PosixThread::refuse(KXStatus status, const char* reason, ...) const {
    char text[160];
    std::va_list arguments;
    va_start(arguments, reason);
    std::vsnprintf(text, sizeof(text), reason, arguments);
    va_end(arguments);
    KXDebug::debugPrintError(1, getDebugKey(), "thread \"%s\" is not started: %s", name.c_str(), text);
    return status;
}

int PosixThread::start(int priority, unsigned int stackSize) {
    if (running.load())
        return refuse(STATUS_REFUSED, "it runs already");
    if (!entryFunction)
        return refuse(STATUS_REFUSED, "it has no entry function");
    const int lowest = sched_get_priority_min(SCHED_FIFO);
    const int highest = sched_get_priority_max(SCHED_FIFO);
    if (priority != 0 && (priority < lowest || priority > highest)) {
        return refuse(STATUS_OUT_OF_RANGE, "real-time priority %d is not in the range of %d to %d", priority,
                      lowest, highest);
    }
    return launch(priority, stackSize);
}

int PosixThread::launch(int priority, unsigned int stackSize) {
    ThreadAttributes attributes;
    if (stackSize != 0)
        attributes.setStackSize(stackSize);
    if (priority != 0)
        attributes.setRealTimePriority(priority);
    if (attributes.getError() == EINVAL) {
        return refuse(STATUS_OUT_OF_RANGE, "a stack of %u bytes is too small, the system's least is %ld",
                      stackSize, static_cast<long>(PTHREAD_STACK_MIN));
    }
    if (attributes.getError() != 0) {
        // ENOMEM: there is no memory for the attributes.
        return refuse(STATUS_REFUSED, "%s", std::strerror(attributes.getError()));
    }
    // An earlier run may have ended by itself, and nobody has waited for it yet.
    if (stopAndWait() != STATUS_OK)
        return refuse(STATUS_REFUSED, "its earlier run waits for the thread that starts it");
    return launch(attributes, priority, stackSize);
}

int PosixThread::launch(const ThreadAttributes& attributes, int priority, unsigned int stackSize) {
    runningFunction = entryFunction;
    runningArgument = entryArgument;
    running = true;
    const int error = pthread_create(&thread, attributes.get(), &PosixThread::run, this);
    joinable = error == 0;
    if (joinable)
        return STATUS_OK;
    running = false;
    if (error == EINVAL) {
        return refuse(STATUS_OUT_OF_RANGE,
                      "a stack of %u bytes is too small for the data that each thread of this program has",
                      stackSize);
    }
    if (error == EPERM)
        return refuse(STATUS_REFUSED, "real-time priority %d is not allowed: %s", priority, std::strerror(error));
    // EAGAIN: the system has no memory for the stack, or is at its limit of threads.
    if (stackSize != 0)
        return refuse(STATUS_REFUSED, "no thread with a stack of %u bytes: %s", stackSize, std::strerror(error));
    return refuse(STATUS_REFUSED, "%s", std::strerror(error));
}

void* PosixThread::run(void* self) {
    // Its destructor runs also when the entry function leaves by pthread_exit.
    struct Ending {
        PosixThread* thread;
        ~Ending() { thread->running = false; }
    } ending{static_cast<PosixThread*>(self)};
    ownThread = ending.thread;
    blockPipeSignal();

    // Fails only for a name that is too long, and a thread works without a name.
    pthread_setname_np(pthread_self(), ending.thread->name.c_str());
    return ending.thread->runningFunction(ending.thread->runningArgument);
}

bool PosixThread::beginWait() {
    const KXLockGuard guard(waitsMutex);
    for (const PosixThread* waited = this; waited; waited = waited->waitsFor)
        if (waited == ownThread)
            return false;
    if (ownThread)
        ownThread->waitsFor = this;
    return true;
}

void PosixThread::endWait() {
    const KXLockGuard guard(waitsMutex);
    if (ownThread)
        ownThread->waitsFor = nullptr;
}

int PosixThread::stopAndWait() {
    if (ownThread == this) {
        // It would wait for its own end. Checked first: the rest belongs to the owner, which may be writing it
        // now.
        return STATUS_REFUSED;
    }
    if (!joinable)
        return STATUS_OK;
    if (!beginWait())
        return STATUS_REFUSED;
    const bool hasEnded = pthread_join(thread, nullptr) == 0;
    endWait();
    if (!hasEnded)
        return STATUS_REFUSED; // EDEADLK from a C library that notices more
    joinable = false;
    return STATUS_OK;
}

} // namespace

KXThread* KXThread::create(const std::string& name) {
    try {
        return new PosixThread(name);
    } catch (const std::bad_alloc&) {
        KXDebug::debugPrintError(1, getDebugKey(), "thread \"%s\" cannot be made: no memory is left",
                                 name.c_str());
        return nullptr;
    }
}

unsigned int KXThread::getCurrentThreadID() {
    return ownID != 0 ? ownID : askForOwnID();
}

KXThread::KXThread() = default;
KXThread::~KXThread() = default;

} // namespace KX
