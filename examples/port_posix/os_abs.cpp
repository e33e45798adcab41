// libKXAPI_OS_ABS of POSIX calls: clock, mutex, thread and pipe.

#include "platform/KXMutex.h"
#include "platform/KXPipe.h"
#include "platform/KXStatus.h"
#include "platform/KXThread.h"
#include "platform/KXTick.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <fcntl.h>
#include <memory>
#include <mutex>
#include <new>
#include <pthread.h>
#include <sched.h>
#include <unistd.h>
#include <vector>

namespace KX {

unsigned int KXTick::getTickCount() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now); // not the wall clock, which somebody sets
    return static_cast<unsigned int>(now.tv_sec) * 1000 + static_cast<unsigned int>(now.tv_nsec / 1000000);
}

namespace {

class PosixMutex : public KXMutex {
public:
    ~PosixMutex() override {
        if (isMade)
            pthread_mutex_destroy(&mutex);
    }

    /// Knows its owner, and inherits the priority of who waits for it, if the system knows that.
    bool make() {
        pthread_mutexattr_t attributes;
        if (pthread_mutexattr_init(&attributes) != 0)
            return false;
        pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_ERRORCHECK);
        pthread_mutexattr_setprotocol(&attributes, PTHREAD_PRIO_INHERIT);
        isMade = pthread_mutex_init(&mutex, &attributes) == 0;
        pthread_mutexattr_setprotocol(&attributes, PTHREAD_PRIO_NONE);
        isMade = isMade || pthread_mutex_init(&mutex, &attributes) == 0;
        pthread_mutexattr_destroy(&attributes);
        return isMade;
    }

    bool lock() override { return pthread_mutex_lock(&mutex) == 0; }
    void unlock() override { pthread_mutex_unlock(&mutex); }

private:
    pthread_mutex_t mutex;
    bool isMade = false;
};

class PosixThread;
thread_local PosixThread* thisThread = nullptr; // null on a thread that was not made here

/// Guards which thread waits for which. No system promises to notice threads that wait for each other.
std::mutex waitsMutex;

/// The object belongs to one thread. Only isRunning and waitsFor are shared with others.
class PosixThread : public KXThread {
public:
    ~PosixThread() override { PosixThread::stopAndWait(); }

    void setEntryFunction(void* (*function)(void*), void* argument) override {
        entry = function;
        entryArgument = argument;
    }

    int start(int priority, unsigned int stackSize) override {
        if (isRunning || !entry)
            return STATUS_REFUSED;
        if (priority != 0 &&
            (priority < sched_get_priority_min(SCHED_FIFO) || priority > sched_get_priority_max(SCHED_FIFO)))
            return STATUS_OUT_OF_RANGE;
        pthread_attr_t attributes;
        if (PosixThread::stopAndWait() != STATUS_OK || pthread_attr_init(&attributes) != 0)
            return STATUS_REFUSED;
        const int status = launch(attributes, priority, stackSize);
        pthread_attr_destroy(&attributes);
        return status;
    }

    int stopAndWait() override {
        if (!setWaited(this))
            return STATUS_REFUSED;
        if (isJoinable)
            pthread_join(thread, nullptr);
        isJoinable = false;
        setWaited(nullptr);
        return STATUS_OK;
    }

private:
    /// \return false when the one that is to be waited for waits for the calling thread, directly or by way of others
    static bool setWaited(const PosixThread* waited) {
        const std::lock_guard<std::mutex> lock(waitsMutex);
        for (const PosixThread* next = waited; next; next = next->waitsFor)
            if (next == thisThread)
                return false;
        if (thisThread)
            thisThread->waitsFor = waited;
        return true;
    }

    int launch(pthread_attr_t& attributes, int priority, unsigned int stackSize) {
        if (stackSize != 0 && pthread_attr_setstacksize(&attributes, stackSize) != 0)
            return STATUS_OUT_OF_RANGE; // smaller than the system's least
        if (priority != 0) {
            sched_param parameter{};
            parameter.sched_priority = priority;
            pthread_attr_setinheritsched(&attributes, PTHREAD_EXPLICIT_SCHED);
            pthread_attr_setschedpolicy(&attributes, SCHED_FIFO);
            pthread_attr_setschedparam(&attributes, &parameter);
        }
        runningEntry = entry;
        runningArgument = entryArgument;
        isRunning = true;
        const int error = pthread_create(&thread, &attributes, &PosixThread::run, this);
        isJoinable = error == 0;
        if (!isJoinable)
            isRunning = false; // otherwise the thread itself says when it has ended
        return error == EINVAL ? STATUS_OUT_OF_RANGE : error == 0 ? STATUS_OK : STATUS_REFUSED;
    }

    static void* run(void* self) {
        thisThread = static_cast<PosixThread*>(self);
        sigset_t pipeSignal; // the worker prints, and a reader that has gone must not end the program
        sigemptyset(&pipeSignal);
        sigaddset(&pipeSignal, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &pipeSignal, nullptr);
        void* const result = thisThread->runningEntry(thisThread->runningArgument);
        thisThread->isRunning = false;
        return result;
    }

    void* (*entry)(void*) = nullptr;
    void* entryArgument = nullptr;
    void* (*runningEntry)(void*) = nullptr; // copies, so that a later setEntryFunction does not reach the run
    void* runningArgument = nullptr;
    pthread_t thread{};
    bool isJoinable = false;
    std::atomic<bool> isRunning{false};
    const PosixThread* waitsFor = nullptr; // guarded by waitsMutex
};

std::atomic<unsigned int> lastThreadID{0};

} // namespace

KXMutex* KXMutex::create() {
    std::unique_ptr<PosixMutex> mutex(new (std::nothrow) PosixMutex);
    return mutex && mutex->make() ? mutex.release() : nullptr;
}

KXMutex::KXMutex() = default;
KXMutex::~KXMutex() = default;

KXAutoLock::KXAutoLock(KXMutex* mutex) : heldMutex(mutex && mutex->lock() ? mutex : nullptr) {}

KXAutoLock::~KXAutoLock() {
    if (heldMutex)
        heldMutex->unlock();
}

KXThread* KXThread::create(const std::string& /*name*/) { // POSIX has no names of threads
    return new (std::nothrow) PosixThread;
}

unsigned int KXThread::getCurrentThreadID() {
    static thread_local const unsigned int id = ++lastThreadID;
    return id;
}

KXThread::KXThread() = default;
KXThread::~KXThread() = default;

static constexpr std::size_t capacity = 1 << 20; // over 7,000 events

/// The bytes are in a ring in memory, because POSIX tells neither how many bytes a pipe holds nor whether it has room
/// for a large write. A pipe of the system holds one byte while the ring is not empty, so a main loop can wait on it.
class KXPipe::Implementation {
public:
    bool isOpen() const { return readEnd != -1; }

    int open() {
        const std::lock_guard<std::mutex> lock(mutex);
        int ends[2];
        if (pipe(ends) != 0)
            return STATUS_REFUSED;
        for (const int end : ends) {
            fcntl(end, F_SETFL, O_NONBLOCK);
            fcntl(end, F_SETFD, FD_CLOEXEC);
        }
        writeEnd = ends[1];
        readEnd = ends[0];
        return STATUS_OK;
    }

    void close() {
        const std::lock_guard<std::mutex> lock(mutex);
        if (!isOpen())
            return;
        ::close(readEnd.exchange(-1));
        ::close(writeEnd.exchange(-1));
        used = 0;
    }

    int write(const char* data, std::size_t size) {
        const std::lock_guard<std::mutex> lock(mutex);
        if (!isOpen() || size > capacity - used)
            return STATUS_REFUSED;
        const std::size_t begin = (first + used) % capacity;
        const std::size_t untilEnd = std::min(size, capacity - begin);
        std::copy(data, data + untilEnd, &ring[begin]);
        std::copy(data + untilEnd, data + size, ring.data());
        const bool wasEmpty = used == 0; // then the pipe of the system has room
        used += size;                    // first: who is woken finds the bytes
        return !wasEmpty || ::write(writeEnd, "x", 1) == 1 ? STATUS_OK : STATUS_REFUSED;
    }

    int read(char* data, std::size_t size) {
        const std::lock_guard<std::mutex> lock(mutex);
        if (used == 0)
            return STATUS_REFUSED;
        const bool isEnough = size <= used;
        const std::size_t taken = isEnough ? size : used.load(); // the rest of a record never comes
        const std::size_t untilEnd = std::min(taken, capacity - first);
        std::copy(&ring[first], &ring[first] + untilEnd, data);
        std::copy(ring.data(), ring.data() + (taken - untilEnd), data + untilEnd);
        first = (first + taken) % capacity;
        used -= taken;
        char byte = 0;
        const bool isReset = used != 0 || ::read(readEnd, &byte, 1) == 1;
        return isEnough && isReset ? STATUS_OK : STATUS_REFUSED;
    }

    std::atomic<int> readEnd{-1};
    std::atomic<int> writeEnd{-1};
    std::atomic<std::size_t> used{0}; // written with the mutex

private:
    std::mutex mutex; // guards the rest
    std::vector<char> ring = std::vector<char>(capacity);
    std::size_t first = 0;
};

KXPipe::KXPipe() : implementation(new Implementation) {}

KXPipe::~KXPipe() {
    implementation->close();
    delete implementation;
}

int KXPipe::init() {
    return implementation->isOpen() ? STATUS_OK : implementation->open();
}

int KXPipe::writeIntoPipe(void* data, int size) const {
    if (!data || size <= 0)
        return STATUS_OUT_OF_RANGE;
    return implementation->write(static_cast<const char*>(data), static_cast<std::size_t>(size));
}

int KXPipe::readFromPipe(void* data, int size) {
    if (!data || size <= 0)
        return STATUS_OUT_OF_RANGE;
    return implementation->read(static_cast<char*>(data), static_cast<std::size_t>(size));
}

bool KXPipe::isReadable() const {
    return implementation->used != 0;
}

int KXPipe::getNoOfBytesAvailable() const {
    return static_cast<int>(implementation->used);
}

int KXPipe::getReadEndPointID() const {
    return implementation->readEnd;
}

int KXPipe::getWriteEndPointID() const {
    return implementation->writeEnd;
}

bool KXPipe::isConnected() const {
    return implementation->isOpen();
}

int KXPipe::reconnect() {
    implementation->close();
    return implementation->open();
}

} // namespace KX
