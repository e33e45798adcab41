#include "platform/KXEndPointManager.h"

#include "platform/KXEndPointHandler.h"
#include "platform/KXLocks.h"
#include "platform/KXPipe.h"
#include "platform/KXStatus.h"
#include "platform/simulated/Accounts.h"
#include "platform/simulated/CANBuses.h"
#include "platform/simulated/ReadableMarks.h"
#include "platform/simulated/Scheduler.h"

#include <boost/container/small_vector.hpp>

#include <algorithm>
#include <condition_variable>
#include <limits>
#include <new>
#include <vector>

namespace KX {

namespace {

constexpr VirtualTime retryIntervalMs = 1000;
constexpr VirtualTime neverRetried = std::numeric_limits<VirtualTime>::min();

struct Registration {
    unsigned int number; // tells an end point that was added again from its earlier registration
    KXEndPoint* endPoint;
    const KXPipe* pipe;      // null: the end point is none
    const SimulatedCAN* can; // the same
    KXEndPointHandler* handler;
    bool isLost;           // reported as disconnected
    VirtualTime retryTime; // of the next reconnect of one that is lost
};

bool isReadable(const Registration& registration) {
    if (registration.pipe)
        return registration.pipe->isReadable();
    if (registration.can)
        return registration.can->hasFrames();
    return isMarkedReadable(registration.endPoint);
}

} // namespace

class KXEndPointManager::Implementation final : public Watched {
public:
    explicit Implementation(KXEndPointManager& manager) : owner(manager) { ++livingObjects.endPointManagers; }

    ~Implementation() { --livingObjects.endPointManagers; }

    Implementation(const Implementation&) = delete;
    Implementation& operator=(const Implementation&) = delete;

    bool add(KXEndPoint* endPoint, KXEndPointHandler* handler) KX_EXCLUDES(mutex);
    bool remove(KXEndPoint* endPoint) KX_EXCLUDES(mutex);
    int wait(VirtualTime until) KX_EXCLUDES(mutex);
    bool isReady() override KX_EXCLUDES(mutex);

private:
    struct Use {
        const KXEndPoint* endPoint;
        const void* user;
    };

    bool anyNeedsService(VirtualTime now) const KX_REQUIRES(mutex);
    int dispatch() KX_EXCLUDES(mutex);
    bool serve(const Registration& registration) KX_EXCLUDES(mutex);
    bool serveInUse(const Registration& registration);
    bool reportLost(const Registration& registration);
    bool reportBack(const Registration& registration);
    bool retry(const Registration& registration);

    /// \return false when it was removed meanwhile
    bool setLost(const Registration& registration, bool isLost) KX_EXCLUDES(mutex);
    bool beginUse(const Registration& registration) KX_EXCLUDES(mutex);
    void endUse() KX_EXCLUDES(mutex);
    bool isUsedElsewhere(const KXEndPoint* endPoint) const KX_REQUIRES(mutex);
    VirtualTime nextWake(VirtualTime until) KX_EXCLUDES(mutex);
    std::vector<Registration>::iterator find(const KXEndPoint* endPoint) KX_REQUIRES(mutex);
    std::vector<Registration>::iterator find(const Registration& copy) KX_REQUIRES(mutex);

    KXEndPointManager& owner;
    Scheduler& scheduler = Scheduler::instance();

    KXStdMutex mutex;
    std::condition_variable useEnded;

    std::vector<Registration> registrations KX_GUARDED_BY(mutex);
    unsigned int nextNumber KX_GUARDED_BY(mutex) = 0;

    // End points being served; more than one when a handler waits itself.
    std::vector<Use> uses KX_GUARDED_BY(mutex);
};

bool KXEndPointManager::Implementation::add(KXEndPoint* endPoint, KXEndPointHandler* handler) {
    const KXLockGuard lock(mutex);
    if (find(endPoint) != registrations.end())
        return false;
    registrations.push_back({nextNumber++, endPoint, dynamic_cast<const KXPipe*>(endPoint),
                             dynamic_cast<const SimulatedCAN*>(endPoint), handler, false, 0});
    return true;
}

bool KXEndPointManager::Implementation::remove(KXEndPoint* endPoint) {
    KXUniqueLock lock(mutex);
    const auto registration = find(endPoint);
    if (registration == registrations.end())
        return false;
    registrations.erase(registration);
    // While a simulated thread runs, the thread that serves the end point cannot continue: waiting for it would
    // never end.
    if (!Scheduler::current())
        useEnded.wait(lock, [this, endPoint]() KX_REQUIRES(mutex) { return !isUsedElsewhere(endPoint); });
    return true;
}

int KXEndPointManager::Implementation::wait(VirtualTime until) {
    scheduler.countWait();
    bool isOver = until <= scheduler.now() || scheduler.isStopping();
    for (;;) {
        const int called = dispatch();
        if (called > 0 || isOver)
            return called;
        const bool isEnded = scheduler.wait(nextWake(until), *this);
        isOver = isEnded || until <= scheduler.now();
    }
}

bool KXEndPointManager::Implementation::isReady() {
    const KXLockGuard lock(mutex);
    return anyNeedsService(neverRetried);
}

// Most passes of a worker find nothing to do.
bool KXEndPointManager::Implementation::anyNeedsService(VirtualTime now) const {
    return std::any_of(
        registrations.begin(), registrations.end(),
        [now](const Registration& registration) {
            const bool isConnected = registration.endPoint->isConnected();
            if (registration.isLost)
                return isConnected || registration.retryTime <= now;
            return !isConnected || isReadable(registration);
        });
}

int KXEndPointManager::Implementation::dispatch() {
    boost::container::small_vector<Registration, 4> round;
    {
        const KXLockGuard lock(mutex);
        if (!anyNeedsService(scheduler.now()))
            return 0;
        // Handlers may add and remove end points meanwhile.
        round.assign(registrations.begin(), registrations.end());
    }
    return static_cast<int>(std::count_if(
        round.begin(), round.end(), [this](const Registration& registration) { return serve(registration); }));
}

bool KXEndPointManager::Implementation::serve(const Registration& registration) {
    // Removed meanwhile by a handler of this round or by another thread: it may be destroyed already.
    if (!beginUse(registration))
        return false;
    const struct EndOfUse { // also when a handler throws
        Implementation& used;
        ~EndOfUse() { used.endUse(); }
    } end{*this};
    return serveInUse(registration);
}

bool KXEndPointManager::Implementation::serveInUse(const Registration& registration) {
    const bool isConnected = registration.endPoint->isConnected();
    if (registration.isLost)
        return isConnected ? reportBack(registration) : retry(registration);
    if (!isConnected)
        return reportLost(registration);
    if (!isReadable(registration))
        return false;
    registration.handler->onEndPointReadable(registration.endPoint, &owner);
    return true;
}

bool KXEndPointManager::Implementation::reportLost(const Registration& registration) {
    if (!setLost(registration, true))
        return false;
    registration.handler->onEndPointDisconnected(registration.endPoint);
    return true;
}

bool KXEndPointManager::Implementation::reportBack(const Registration& registration) {
    if (!setLost(registration, false))
        return false;
    registration.handler->onEndPointReconnected(registration.endPoint);
    return true;
}

bool KXEndPointManager::Implementation::retry(const Registration& registration) {
    if (scheduler.now() < registration.retryTime)
        return false;
    if (registration.endPoint->reconnect() == STATUS_OK)
        return reportBack(registration);
    setLost(registration, true);
    return false;
}

bool KXEndPointManager::Implementation::setLost(const Registration& registration, bool isLost) {
    const VirtualTime retryTime = scheduler.now() + retryIntervalMs;
    const KXLockGuard lock(mutex);
    const auto present = find(registration);
    if (present == registrations.end())
        return false;
    present->isLost = isLost;
    present->retryTime = retryTime;
    return true;
}

VirtualTime KXEndPointManager::Implementation::nextWake(VirtualTime until) {
    const KXLockGuard lock(mutex);
    for (const Registration& registration : registrations)
        if (registration.isLost)
            until = std::min(until, registration.retryTime);
    return until;
}

bool KXEndPointManager::Implementation::beginUse(const Registration& registration) {
    const KXLockGuard lock(mutex);
    if (find(registration) == registrations.end())
        return false;
    uses.push_back({registration.endPoint, Scheduler::caller()});
    return true;
}

void KXEndPointManager::Implementation::endUse() {
    const KXLockGuard lock(mutex);
    uses.pop_back();
    useEnded.notify_all();
}

bool KXEndPointManager::Implementation::isUsedElsewhere(const KXEndPoint* endPoint) const {
    return std::any_of(
        uses.begin(), uses.end(),
        [endPoint](const Use& use) { return use.endPoint == endPoint && use.user != Scheduler::caller(); });
}

std::vector<Registration>::iterator KXEndPointManager::Implementation::find(const KXEndPoint* endPoint) {
    return std::find_if(
        registrations.begin(), registrations.end(),
        [endPoint](const Registration& registration) { return registration.endPoint == endPoint; });
}

std::vector<Registration>::iterator KXEndPointManager::Implementation::find(const Registration& copy) {
    return std::find_if(
        registrations.begin(), registrations.end(),
        [&copy](const Registration& registration) { return registration.number == copy.number; });
}

KXEndPointManager::KXEndPointManager() : implementation(new Implementation(*this)) {}

KXEndPointManager::~KXEndPointManager() {
    delete implementation;
}

int KXEndPointManager::addEndPoint(KXEndPoint* endPoint, KXEndPointHandler* handler) {
    if (!endPoint || !handler)
        return STATUS_OUT_OF_RANGE;
    try {
        return implementation->add(endPoint, handler) ? STATUS_OK : STATUS_REFUSED;
    } catch (const std::bad_alloc&) {
        return STATUS_REFUSED;
    }
}

int KXEndPointManager::removeEndPoint(KXEndPoint* endPoint) {
    return implementation->remove(endPoint) ? STATUS_OK : STATUS_REFUSED;
}

int KXEndPointManager::waitForEndPoints(unsigned int untilTick, unsigned int /*reserved*/) {
    return implementation->wait(Scheduler::instance().timeOf(untilTick));
}

} // namespace KX
