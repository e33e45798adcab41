#include "platform/KXEndPointManager.h"

#include "platform/KXEndPointHandler.h"
#include "platform/KXPipe.h"
#include "platform/simulated/Accounts.h"
#include "platform/simulated/CANBuses.h"
#include "platform/simulated/ReadableMarks.h"
#include "platform/simulated/Scheduler.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace KX {

namespace {

using simulated::Scheduler;
using simulated::Time;

constexpr Time retryIntervalMs = 1000;

struct Registration {
    unsigned int number; // tells an end point that was removed and added again from what it was
    KXEndPoint* endPoint;
    KXEndPointHandler* handler;
    bool isLost;    // reported as disconnected
    Time retryTime; // of the next reconnect of one that is lost
};

bool isReadable(const KXEndPoint* endPoint) {
    if (const auto* pipe = dynamic_cast<const KXPipe*>(endPoint)) {
        return pipe->isReadable();
    }
    if (const auto* can = dynamic_cast<const simulated::SimulatedCAN*>(endPoint)) {
        return can->hasFrames();
    }
    return simulated::isMarkedReadable(endPoint);
}

} // namespace

class KX_LOCAL KXEndPointManager::Implementation final : public simulated::Watched {
public:
    explicit Implementation(KXEndPointManager& manager) : owner(manager) {
        ++simulated::living.endPointManagers;
    }

    ~Implementation() {
        --simulated::living.endPointManagers;
    }

    Implementation(const Implementation&) = delete;
    Implementation& operator=(const Implementation&) = delete;

    bool add(KXEndPoint* endPoint, KXEndPointHandler* handler);
    bool remove(KXEndPoint* endPoint);
    int wait(Time until);
    bool isReady() override;

private:
    struct Call {
        KXEndPoint* endPoint;
        std::thread::id thread;
    };

    int dispatch();
    bool serve(const Registration& registration);
    bool reportLost(const Registration& registration);
    bool reportBack(const Registration& registration);
    bool retry(const Registration& registration);
    Time nextWake(Time until);
    bool beginCall(const Registration& registration);
    void endCall();
    void markLost(const Registration& registration, bool isLost);
    std::vector<Registration>::iterator find(const KXEndPoint* endPoint);
    std::vector<Registration>::iterator findSame(const Registration& registration);
    bool isCalledElsewhere(const KXEndPoint* endPoint) const;

    template<typename Function>
    bool call(const Registration& registration, Function function) {
        if (!beginCall(registration)) {
            return false;
        }
        function(*registration.handler);
        endCall();
        return true;
    }

    KXEndPointManager& owner;
    Scheduler& scheduler = Scheduler::instance();

    std::mutex mutex;
    std::condition_variable callEnded;

    // guarded by mutex
    std::vector<Registration> registrations;
    std::vector<Call> calls; // handler calls under way; more than one when a handler waits itself
    unsigned int nextNumber = 0;
};

bool KXEndPointManager::Implementation::add(KXEndPoint* endPoint, KXEndPointHandler* handler) {
    const std::lock_guard<std::mutex> lock(mutex);
    if (find(endPoint) != registrations.end()) {
        return false;
    }
    registrations.push_back({nextNumber++, endPoint, handler, false, 0});
    return true;
}

bool KXEndPointManager::Implementation::remove(KXEndPoint* endPoint) {
    std::unique_lock<std::mutex> lock(mutex);
    const auto registration = find(endPoint);
    if (registration == registrations.end()) {
        return false;
    }
    registrations.erase(registration);
    // While a simulated thread runs, the thread with the call under way cannot go on: waiting for it would be
    // waiting for ever.
    if (Scheduler::current() == nullptr) {
        callEnded.wait(lock, [this, endPoint] { return !isCalledElsewhere(endPoint); });
    }
    return true;
}

int KXEndPointManager::Implementation::wait(Time until) {
    scheduler.countWait();
    bool isOver = until <= scheduler.now() || scheduler.isStopping();
    for (;;) {
        const int called = dispatch();
        if (called > 0 || isOver) {
            return called;
        }
        const bool isEnded = scheduler.wait(nextWake(until), *this);
        isOver = isEnded || until <= scheduler.now();
    }
}

bool KXEndPointManager::Implementation::isReady() {
    const std::lock_guard<std::mutex> lock(mutex);
    return std::any_of(registrations.begin(), registrations.end(), [](const Registration& registration) {
        const bool isConnected = registration.endPoint->isConnected();
        return isConnected == registration.isLost || (isConnected && isReadable(registration.endPoint));
    });
}

int KXEndPointManager::Implementation::dispatch() {
    std::vector<Registration> round;
    {
        // Handlers may add and remove end points meanwhile.
        const std::lock_guard<std::mutex> lock(mutex);
        round = registrations;
    }
    return static_cast<int>(std::count_if(
        round.begin(), round.end(), [this](const Registration& registration) { return serve(registration); }));
}

bool KXEndPointManager::Implementation::serve(const Registration& registration) {
    {
        // A handler called before in this round may have removed and destroyed the end point.
        const std::lock_guard<std::mutex> lock(mutex);
        if (findSame(registration) == registrations.end()) {
            return false;
        }
    }
    KXEndPoint* endPoint = registration.endPoint;
    const bool isConnected = endPoint->isConnected();
    if (registration.isLost) {
        return isConnected ? reportBack(registration) : retry(registration);
    }
    if (!isConnected) {
        return reportLost(registration);
    }
    return isReadable(endPoint) && call(registration, [this, endPoint](KXEndPointHandler& handler) {
               handler.onEndPointReadable(endPoint, &owner);
           });
}

bool KXEndPointManager::Implementation::reportLost(const Registration& registration) {
    markLost(registration, true);
    return call(registration, [&registration](KXEndPointHandler& handler) {
        handler.onEndPointDisconnected(registration.endPoint);
    });
}

bool KXEndPointManager::Implementation::reportBack(const Registration& registration) {
    markLost(registration, false);
    return call(registration, [&registration](KXEndPointHandler& handler) {
        handler.onEndPointReconnected(registration.endPoint);
    });
}

bool KXEndPointManager::Implementation::retry(const Registration& registration) {
    if (scheduler.now() < registration.retryTime) {
        return false;
    }
    if (registration.endPoint->reconnect() == 0) {
        return reportBack(registration);
    }
    markLost(registration, true);
    return false;
}

void KXEndPointManager::Implementation::markLost(const Registration& registration, bool isLost) {
    const Time retryTime = scheduler.now() + retryIntervalMs;
    const std::lock_guard<std::mutex> lock(mutex);
    const auto present = findSame(registration);
    if (present != registrations.end()) {
        present->isLost = isLost;
        present->retryTime = retryTime;
    }
}

Time KXEndPointManager::Implementation::nextWake(Time until) {
    const std::lock_guard<std::mutex> lock(mutex);
    for (const Registration& registration : registrations) {
        if (registration.isLost) {
            until = std::min(until, registration.retryTime);
        }
    }
    return until;
}

bool KXEndPointManager::Implementation::beginCall(const Registration& registration) {
    const std::lock_guard<std::mutex> lock(mutex);
    if (findSame(registration) == registrations.end()) {
        return false;
    }
    calls.push_back({registration.endPoint, std::this_thread::get_id()});
    return true;
}

void KXEndPointManager::Implementation::endCall() {
    const std::lock_guard<std::mutex> lock(mutex);
    calls.pop_back();
    callEnded.notify_all();
}

std::vector<Registration>::iterator KXEndPointManager::Implementation::find(const KXEndPoint* endPoint) {
    return std::find_if(registrations.begin(), registrations.end(), [endPoint](const Registration& registration) {
        return registration.endPoint == endPoint;
    });
}

// The end point may have been removed, and even added again, since the registration was looked at.
std::vector<Registration>::iterator KXEndPointManager::Implementation::findSame(const Registration& registration) {
    const auto present = find(registration.endPoint);
    return present != registrations.end() && present->number == registration.number ? present
                                                                                    : registrations.end();
}

bool KXEndPointManager::Implementation::isCalledElsewhere(const KXEndPoint* endPoint) const {
    return std::any_of(calls.begin(), calls.end(), [endPoint](const Call& call) {
        return call.endPoint == endPoint && call.thread != std::this_thread::get_id();
    });
}

KXEndPointManager::KXEndPointManager() : implementation(new Implementation(*this)) {}

KXEndPointManager::~KXEndPointManager() {
    delete implementation;
}

int KXEndPointManager::addEndPoint(KXEndPoint* endPoint, KXEndPointHandler* handler) {
    if (endPoint == nullptr || handler == nullptr) {
        return 24;
    }
    return implementation->add(endPoint, handler) ? 0 : 20;
}

int KXEndPointManager::removeEndPoint(KXEndPoint* endPoint) {
    return implementation->remove(endPoint) ? 0 : 20;
}

int KXEndPointManager::waitForEndPoints(unsigned int untilTick, unsigned int /*reserved*/) {
    return implementation->wait(Scheduler::instance().timeOf(untilTick));
}

} // namespace KX
