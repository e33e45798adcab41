// The Linux platform with one fault, which the environment variable KX_FAULT names. The functions here replace those of
// the platform's libraries, which do the rest.

#include "LinuxAdapter.h"

#include "platform/KXCANMessage.h"
#include "platform/KXCANRaw.h"
#include "platform/KXDebug.h"
#include "platform/KXEndPointManager.h"
#include "platform/KXMutex.h"
#include "platform/KXPipe.h"
#include "platform/KXStatus.h"
#include "platform/KXString.h"
#include "platform/KXThread.h"
#include "platform/KXTick.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <dlfcn.h>
#include <map>
#include <mutex>
#include <unistd.h>
#include <vector>

namespace {

bool hasFault(const char* name) {
    static const char* const chosen = std::getenv("KX_FAULT");
    return chosen && std::string(chosen) == name;
}

/// Whether this call, one in so many, is the faulty one.
bool isOneIn(unsigned int calls) {
    static std::atomic<unsigned int> count{0};
    return ++count % calls == 0;
}

/// The platform's own function behind the one here. Functions of classes take the object as their first argument.
template<class Function>
Function* next(const char* mangledName) {
    auto* const found = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, mangledName));
    if (!found)
        std::abort();
    return found;
}

} // namespace

namespace KX {

unsigned int KXTick::getTickCount() {
    static const auto real = next<unsigned int()>("_ZN2KX6KXTick12getTickCountEv");
    const unsigned int tick = real();
    if (hasFault("clock-steps-back"))
        return isOneIn(1000) ? tick - 20 : tick;
    if (hasFault("clock-counts-centiseconds"))
        return tick / 10;
    if (hasFault("clock-of-each-thread")) {
        static std::atomic<unsigned int> threads{0};
        static thread_local const unsigned int delay = 100 * threads++;
        return tick - delay;
    }
    return tick;
}

std::string toString(int value) {
    const std::string text = std::to_string(value);
    if (hasFault("text-without-sign") && value < 0)
        return text.substr(1);
    return text;
}

namespace {

/// Another thread may come between the look and the entry. The map itself has a lock, so that the program goes on.
unsigned int registerWithoutLock(const std::string& name, std::atomic<unsigned int>& lastKey) {
    static std::mutex& mutex = *new std::mutex;
    static auto& keys = *new std::map<std::string, unsigned int>;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        if (const auto known = keys.find(name); known != keys.end())
            return known->second;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    const std::lock_guard<std::mutex> lock(mutex);
    return keys[name] = ++lastKey;
}

} // namespace

unsigned int KXDebug::insertNewDebugSection(const std::string& name) {
    static const auto real = next<unsigned int(const std::string&)>(
        "_ZN2KX7KXDebug21insertNewDebugSectionERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE");
    static std::atomic<unsigned int> sections{100};
    if (hasFault("section-gets-a-new-key"))
        return ++sections;
    return hasFault("section-is-looked-up-without-a-lock") ? registerWithoutLock(name, sections) : real(name);
}

KXAutoLock::KXAutoLock(KXMutex* mutex) : heldMutex(mutex && mutex->lock() ? mutex : nullptr) {
    if (hasFault("lock-that-failed-is-unlocked"))
        heldMutex = mutex;
}

KXAutoLock::~KXAutoLock() {
    if (heldMutex && !hasFault("lock-is-never-given-back"))
        heldMutex->unlock();
}

unsigned int KXThread::getCurrentThreadID() {
    static const auto real = next<unsigned int()>("_ZN2KX8KXThread18getCurrentThreadIDEv");
    return hasFault("threads-share-a-number") ? real() / 1000000 : real();
}

namespace {

/// Locks nothing.
class OpenMutex : public KXMutex {
    bool lock() override { return true; }
    void unlock() override {}
};

/// Its owner may lock it again.
class RecursiveMutex : public KXMutex {
public:
    bool lock() override {
        mutex.lock();
        return true;
    }
    void unlock() override { mutex.unlock(); }

private:
    std::recursive_mutex mutex;
};

} // namespace

KXMutex* KXMutex::create() {
    static const auto real = next<KXMutex*()>("_ZN2KX7KXMutex6createEv");
    if (hasFault("mutex-locks-nothing"))
        return new OpenMutex;
    return hasFault("mutex-is-recursive") ? new RecursiveMutex : real();
}

namespace {

/// A thread of the platform with a fault.
class FaultyThread : public KXThread {
public:
    explicit FaultyThread(KXThread* sound) : thread(sound) {}

    void setEntryFunction(void* (*function)(void*), void* argument) override {
        thread->setEntryFunction(function, argument);
    }

    int start(int priority, unsigned int stackSize) override {
        const int status = thread->start(priority, stackSize);
        if (hasFault("second-start-is-taken") && status == STATUS_REFUSED)
            return STATUS_OK;
        return status;
    }

    int stopAndWait() override { return hasFault("stop-does-not-wait") ? STATUS_OK : thread->stopAndWait(); }

private:
    const std::unique_ptr<KXThread> thread;
};

} // namespace

KXThread* KXThread::create(const std::string& name) {
    static const auto real = next<KXThread*(const std::string&)>(
        "_ZN2KX8KXThread6createERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE");
    if (hasFault("no-thread-is-made"))
        return nullptr;
    return new FaultyThread(real(hasFault("thread-bears-another-name") ? "t" : name));
}

int KXPipe::writeIntoPipe(void* data, int size) const {
    using Write = int(const KXPipe*, void*, int);
    static const auto real = next<Write>("_ZNK2KX6KXPipe13writeIntoPipeEPvi");
    if (hasFault("pipe-tears-records") && size > 64) {
        const int status = real(this, data, 64);
        std::this_thread::yield();
        return status == STATUS_OK ? real(this, static_cast<char*>(data) + 64, size - 64) : status;
    }
    if (hasFault("pipe-loses-a-record") && isOneIn(50))
        return STATUS_OK;
    if (hasFault("pipe-takes-a-part-of-a-large-write") && size > 65536) {
        real(this, data, 4096);
        return STATUS_REFUSED;
    }
    return real(this, data, size);
}

int KXPipe::readFromPipe(void* data, int size) {
    static const auto real = next<int(KXPipe*, void*, int)>("_ZN2KX6KXPipe12readFromPipeEPvi");
    if (hasFault("pipe-keeps-the-rest-of-a-record") && data && size > getNoOfBytesAvailable())
        return STATUS_REFUSED;
    return real(this, data, size);
}

int KXPipe::getNoOfBytesAvailable() const {
    static const auto real = next<int(const KXPipe*)>("_ZNK2KX6KXPipe21getNoOfBytesAvailableEv");
    return hasFault("pipe-counts-one-byte-too-many") ? real(this) + 1 : real(this);
}

int KXEndPointManager::waitForEndPoints(unsigned int untilTick, unsigned int reserved) {
    using Wait = int(KXEndPointManager*, unsigned int, unsigned int);
    static const auto real = next<Wait>("_ZN2KX17KXEndPointManager16waitForEndPointsEjj");
    if (hasFault("wait-returns-early"))
        return real(this, untilTick - 5, reserved);
    if (hasFault("wait-misses-a-wake-up")) {
        // Looks at once and then sleeps its time out, whatever comes.
        const int calls = real(this, KXTick::getTickCount(), reserved);
        while (calls == 0 && static_cast<int>(untilTick - KXTick::getTickCount()) > 0)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        return calls;
    }
    const int calls = real(this, untilTick, reserved);
    return hasFault("wait-counts-one-call-less") && calls > 0 ? calls - 1 : calls;
}

int KXEndPointManager::addEndPoint(KXEndPoint* endPoint, KXEndPointHandler* handler) {
    using Add = int(KXEndPointManager*, KXEndPoint*, KXEndPointHandler*);
    static const auto real =
        next<Add>("_ZN2KX17KXEndPointManager11addEndPointEPNS_10KXEndPointEPNS_17KXEndPointHandlerE");
    if (hasFault("closed-end-point-is-refused") && endPoint && !endPoint->isConnected())
        return STATUS_REFUSED;
    return real(this, endPoint, handler);
}

int KXEndPointManager::removeEndPoint(KXEndPoint* endPoint) {
    using Remove = int(KXEndPointManager*, KXEndPoint*);
    static const auto real = next<Remove>("_ZN2KX17KXEndPointManager14removeEndPointEPNS_10KXEndPointE");
    if (hasFault("removal-does-not-wait")) {
        static std::vector<std::thread>& late = *new std::vector<std::thread>;
        late.emplace_back([this, endPoint] { real(this, endPoint); });
        return STATUS_OK;
    }
    return real(this, endPoint);
}

/// Has little patience with a fault, which costs all of it.
class FaultyAdapter : public LinuxAdapter {
public:
    unsigned int getPatienceMs() const override { return std::getenv("KX_FAULT") ? 1500 : 20000; }
};

namespace {

/// A CAN end point of the platform with a fault.
class FaultyCAN : public KXCANRaw {
public:
    explicit FaultyCAN(KXCANRaw* sound) : bus(sound) {}

    int configure(unsigned char setting) override { return bus->configure(setting); }

    int readFrame(KXCANMessage& message) override {
        KXCANMessage frame;
        const int status = bus->readFrame(frame);
        if (status != STATUS_OK && !hasFault("empty-bus-clears-the-message"))
            return status;
        const auto length = hasFault("frame-keeps-old-bytes") ? frame.canLength : 8;
        message.canId = frame.canId;
        message.canLength = frame.canLength;
        std::copy(frame.canData, frame.canData + length, message.canData);
        return status;
    }

    int getReadEndPointID() const override { return bus->getReadEndPointID(); }
    int getWriteEndPointID() const override { return bus->getWriteEndPointID(); }
    bool isConnected() const override { return bus->isConnected(); }
    int reconnect() override { return bus->reconnect(); }

private:
    const std::unique_ptr<KXCANRaw> bus;
};

} // namespace

KXCANRaw* KXCANRaw::create(int bus, int bitRate, int receiveBuffer) {
    static const auto real = next<KXCANRaw*(int, int, int)>("_ZN2KX8KXCANRaw6createEiii");
    KXCANRaw* const sound = real(hasFault("every-bus-exists") ? 0 : bus, bitRate, receiveBuffer);
    return sound ? new FaultyCAN(sound) : nullptr;
}

std::unique_ptr<KXPlatformAdapter> makePlatformAdapter() {
    return std::make_unique<FaultyAdapter>();
}

} // namespace KX
