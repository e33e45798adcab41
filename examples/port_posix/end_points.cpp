// libKXAPI_OS_ABS of POSIX calls: end points and their manager, by poll.

#include "platform/KXEndPoint.h"
#include "platform/KXEndPointHandler.h"
#include "platform/KXEndPointManager.h"
#include "platform/KXStatus.h"
#include "platform/KXTick.h"

#include <algorithm>
#include <condition_variable>
#include <fcntl.h>
#include <memory>
#include <mutex>
#include <new>
#include <poll.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace KX {
namespace {

constexpr int retryMs = 1000;
constexpr int checkMs = 1000; // poll does not notice an end point that its owner closes, so a long wait looks

int msUntil(unsigned int tick) {
    return static_cast<int>(tick - KXTick::getTickCount());
}

using Lock = std::lock_guard<std::mutex>;

struct Registration {
    unsigned int number; // tells an end point that was added again from its earlier registration
    KXEndPoint* endPoint;
    KXEndPointHandler* handler;
    bool isLost;
    unsigned int retryTick;

    bool operator==(unsigned int otherNumber) const { return number == otherNumber; }
    bool operator==(const KXEndPoint* otherEndPoint) const { return endPoint == otherEndPoint; }
};

} // namespace

class KXEndPointManager::Implementation {
public:
    explicit Implementation(KXEndPointManager* ownManager) : manager(ownManager) {
        if (pipe(wakeEnds) != 0)
            wakeEnds[0] = wakeEnds[1] = -1; // no descriptors are left: nothing can be added
        for (const int end : wakeEnds) {
            fcntl(end, F_SETFL, O_NONBLOCK);
            fcntl(end, F_SETFD, FD_CLOEXEC);
        }
    }

    ~Implementation() {
        for (const int end : wakeEnds)
            close(end);
    }

    int add(KXEndPoint* endPoint, KXEndPointHandler* handler) {
        const Lock lock(mutex);
        if (wakeEnds[0] == -1 || find(endPoint) != registrations.end())
            return STATUS_REFUSED;
        registrations.push_back({++lastNumber, endPoint, handler, false, 0});
        // A wait that goes on has to look at it.
        return write(wakeEnds[1], "x", 1) != 0 ? STATUS_OK : STATUS_REFUSED; // a full pipe has woken it already
    }

    int remove(const KXEndPoint* endPoint) {
        std::unique_lock<std::mutex> lock(mutex);
        const auto found = find(endPoint);
        if (found == registrations.end())
            return STATUS_REFUSED;
        const unsigned int number = found->number;
        registrations.erase(found);
        useEnded.wait(lock, [&] {
            return server == std::this_thread::get_id() || std::count(served.begin(), served.end(), number) == 0;
        });
        return STATUS_OK;
    }

    int wait(unsigned int untilTick) {
        for (;;) {
            int calls = 0;
            for (const Registration& one : getRegistrations())
                calls += serve(one.number, &Implementation::checkConnection);
            sleep(calls > 0 ? 0 : msUntilRetry(std::min(msUntil(untilTick), checkMs)));
            for (const Registration& one : getRegistrations())
                calls += serve(one.number, &Implementation::dispatch);
            if (calls > 0 || msUntil(untilTick) <= 0)
                return calls;
        }
    }

private:
    /// Calls a function for an end point. A removal by another thread waits for its end; the caller's own does not.
    int serve(unsigned int number, int (Implementation::*function)(const Registration&)) {
        Registration registration;
        {
            const Lock lock(mutex);
            const auto found = find(number);
            if (found == registrations.end())
                return 0; // removed meanwhile
            registration = *found;
            served.push_back(number);
            server = std::this_thread::get_id();
        }
        const auto endUse = [](Implementation* all) {
            const Lock lock(all->mutex);
            all->served.pop_back();
            all->useEnded.notify_all();
        };
        const std::unique_ptr<Implementation, decltype(endUse)> use(this, endUse); // also when a handler throws
        return (this->*function)(registration);
    }

    std::vector<Registration> getRegistrations() {
        const Lock lock(mutex);
        return registrations;
    }

    int msUntilRetry(int limit) {
        const Lock lock(mutex);
        for (const Registration& registration : registrations)
            if (registration.isLost)
                limit = std::min(limit, msUntil(registration.retryTick));
        return std::max(limit, 0);
    }

    void sleep(int ms) {
        std::vector<pollfd> queries{{wakeEnds[0], POLLIN, 0}};
        {
            const Lock lock(mutex);
            for (const Registration& one : registrations)
                if (!one.isLost)
                    queries.push_back({one.endPoint->getReadEndPointID(), POLLIN, 0});
        }
        poll(queries.data(), queries.size(), ms); // a signal ends it early: the caller looks at the clock
        char bytes[64];
        while (read(wakeEnds[0], bytes, sizeof(bytes)) > 0) {
        }
    }

    /// What poll does not tell: an end point that is connected no more, and a retry that is due.
    int checkConnection(const Registration& registration) {
        if (registration.isLost)
            return retry(registration);
        return registration.endPoint->isConnected() ? 0 : reportLost(registration);
    }

    int retry(const Registration& registration) {
        const int remainingMs = msUntil(registration.retryTick);
        // Further ahead than it is ever set: nobody waited for half the range of the clock.
        if (remainingMs > 0 && remainingMs <= retryMs)
            return 0;
        const bool isBack = registration.endPoint->reconnect() == STATUS_OK;
        if (!setLost(registration.number, !isBack) || !isBack)
            return 0;
        registration.handler->onEndPointReconnected(registration.endPoint);
        return 1;
    }

    int reportLost(const Registration& registration) {
        if (!setLost(registration.number, true))
            return 0;
        registration.handler->onEndPointDisconnected(registration.endPoint);
        return 1;
    }

    /// \return false when it was removed
    bool setLost(unsigned int number, bool isLost) {
        const Lock lock(mutex);
        const auto found = find(number);
        if (found == registrations.end())
            return false;
        found->isLost = isLost;
        found->retryTick = KXTick::getTickCount() + retryMs;
        return true;
    }

    int dispatch(const Registration& registration) {
        if (registration.isLost)
            return 0;
        // Asked for each one anew: an earlier handler of this round may have read everything.
        pollfd query{registration.endPoint->getReadEndPointID(), POLLIN, 0};
        if (poll(&query, 1, 0) <= 0)
            return 0;
        if ((query.revents & POLLIN) == 0) // POLLHUP, POLLERR, POLLNVAL; what was sent before is read first
            return reportLost(registration);
        registration.handler->onEndPointReadable(registration.endPoint, manager);
        return 1;
    }

    template<class Key> // a number or an end point
    std::vector<Registration>::iterator find(Key key) {
        return std::find(registrations.begin(), registrations.end(), key);
    }

    KXEndPointManager* const manager;
    int wakeEnds[2] = {-1, -1};

    std::mutex mutex; // guards the rest; not held while a handler runs
    std::condition_variable useEnded;
    std::vector<Registration> registrations;
    std::vector<unsigned int> served; // more than one when a handler waits itself
    std::thread::id server;           // one thread waits at a time
    unsigned int lastNumber = 0;
};

KXEndPoint::KXEndPoint() = default;
KXEndPoint::~KXEndPoint() = default;
KXEndPointHandler::~KXEndPointHandler() = default;

KXEndPointManager::KXEndPointManager() : implementation(new Implementation(this)) {}

KXEndPointManager::~KXEndPointManager() {
    delete implementation;
}

int KXEndPointManager::addEndPoint(KXEndPoint* endPoint, KXEndPointHandler* handler) {
    try {
        return endPoint && handler ? implementation->add(endPoint, handler) : STATUS_OUT_OF_RANGE;
    } catch (const std::bad_alloc&) {
        return STATUS_REFUSED;
    }
}

int KXEndPointManager::removeEndPoint(KXEndPoint* endPoint) {
    return implementation->remove(endPoint);
}

int KXEndPointManager::waitForEndPoints(unsigned int untilTick, unsigned int /*reserved*/) {
    return implementation->wait(untilTick);
}

} // namespace KX
