#include "platform/KXEndPointManager.h"

#include "platform/KXEndPoint.h"
#include "platform/KXEndPointHandler.h"
#include "platform/KXStatus.h"
#include "platform/KXTick.h"
#include "platform/linux/os_abs/EndPointTable.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory_resource>
#include <new>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/ioctl.h>
#include <vector>

namespace KX {

namespace {

constexpr int retryIntervalMs = 1000;

/// A descriptor that its owner closes leaves the epoll set without an event, so a long wait checks this often.
constexpr int checkIntervalMs = 1000;

/// Milliseconds from \p now to \p tick; zero or negative when the tick has come. Right across the wrap of the
/// clock.
int getTimeUntil(unsigned int tick, unsigned int now) {
    return static_cast<int>(tick - now);
}

/// The end of a wait: its tick, or the same time by the system's clock, whichever comes first. A program may
/// replace \ref KXTick by a clock that its tests stop, and a wait must end even then.
class TimeLimit {
public:
    explicit TimeLimit(unsigned int limitingTick)
        : tick(limitingTick),
          time(Clock::now() + std::chrono::milliseconds(getTimeUntil(tick, KXTick::getTickCount()))) {}

    int getRemainingMs() const {
        using std::chrono::ceil;
        using std::chrono::milliseconds;
        const auto untilTime = ceil<milliseconds>(time - Clock::now()).count();
        const auto untilTick = getTimeUntil(tick, KXTick::getTickCount());
        return static_cast<int>(std::min<std::int64_t>(untilTime, untilTick));
    }

private:
    using Clock = std::chrono::steady_clock;

    const unsigned int tick;
    const Clock::time_point time;
};

unsigned int getRetryTick() {
    return KXTick::getTickCount() + static_cast<unsigned int>(retryIntervalMs);
}

bool hasBytes(int descriptor) {
    int bytes = 0;
    return ioctl(descriptor, FIONREAD, &bytes) == 0 && bytes > 0;
}

/// Whether events of epoll or poll mean that nothing more will come from a descriptor. Bytes that the peer sent
/// before it hung up are read first. At end of file a descriptor stays readable: without this check a handler
/// would be called in a busy loop.
bool isGone(unsigned int found, int descriptor) {
    const unsigned int broken = EPOLLERR | static_cast<unsigned int>(POLLNVAL);
    const unsigned int hungUp = EPOLLHUP | EPOLLRDHUP;
    return (found & broken) != 0 || ((found & hungUp) != 0 && !hasBytes(descriptor));
}

/// The events of a descriptor at this moment.
unsigned int lookAgain(int descriptor) {
    pollfd query{};
    query.fd = descriptor;
    query.events = POLLIN | POLLRDHUP;
    // It does not wait, so no signal interrupts it. After a failure there are no events, and the next wait looks
    // again.
    return poll(&query, 1, 0) > 0 ? static_cast<unsigned short>(query.revents) : 0U;
}

/// Memory on the stack for a vector of a wait. A wait comes ten times a second and with every frame of a busy bus.
/// With up to some 30 end points it does not touch the heap.
template<class Element>
class WaitMemory {
public:
    std::pmr::memory_resource* get() { return &resource; }

private:
    alignas(Element) std::array<std::byte, 32 * sizeof(Element)> space;
    std::pmr::monotonic_buffer_resource resource{space.data(), space.size()};
};

} // namespace

class KX_LOCAL KXEndPointManager::Implementation {
public:
    explicit Implementation(KXEndPointManager* managerOfHandlers) : manager(managerOfHandlers) {}

    EndPointTable table;

    int wait(unsigned int untilTick);

private:
    using Number = EndPointTable::Number;
    using Use = EndPointTable::Use;

    int checkConnections();
    int checkConnection(Number number);
    int retry(Number number, const Use& use);
    int reportLost(Number number, const Use& use);
    int dispatch(const std::pmr::vector<epoll_event>& events);
    int dispatchEvent(const epoll_event& event, bool firstOfRound, bool& isOfNobody);

    KXEndPointManager* const manager;
};

/// Each pass of the loop is one round. The wait ends after a round that called a handler.
int KXEndPointManager::Implementation::wait(unsigned int untilTick) {
    const TimeLimit limit(untilTick);
    WaitMemory<epoll_event> memory;
    std::pmr::vector<epoll_event> events(memory.get());
    for (;;) {
        int calls = checkConnections();
        const int remainingMs = std::min(limit.getRemainingMs(), checkIntervalMs);
        // A handler was called already: look for further events, but do not sleep.
        table.sleep(events, calls > 0 ? 0 : table.getTimeToNextRetry(KXTick::getTickCount(), remainingMs));
        calls += dispatch(events);
        if (calls > 0 || limit.getRemainingMs() <= 0)
            return calls;
    }
}

int KXEndPointManager::Implementation::checkConnections() {
    WaitMemory<Number> memory;
    std::pmr::vector<Number> numbers(memory.get());
    table.getNumbers(numbers);
    int calls = 0;
    for (const Number number : numbers)
        calls += checkConnection(number);
    return calls;
}

/// Finds what epoll does not report: an end point that its owner closed or opened anew, and a retry that is due.
int KXEndPointManager::Implementation::checkConnection(Number number) {
    const Use use(table, number);
    if (!use.isValid())
        return 0;
    if (use->lost)
        return retry(number, use);
    if (use->endPoint->isConnected()) {
        const int descriptor = use->endPoint->getReadEndPointID();
        if (table.isWatched(number, descriptor) || (descriptor >= 0 && table.watch(number, descriptor)))
            return 0;
    }
    return reportLost(number, use);
}

int KXEndPointManager::Implementation::retry(Number number, const Use& use) {
    const int remainingMs = getTimeUntil(use->retryTick, KXTick::getTickCount());
    // A retry that is further ahead than it is ever set is overdue: no wait ran for half the range of the clock.
    if (remainingMs > 0 && remainingMs <= retryIntervalMs)
        return 0;
    if (use->endPoint->reconnect() == STATUS_OK) {
        const int descriptor = use->endPoint->getReadEndPointID();
        if (descriptor >= 0 && table.watch(number, descriptor)) {
            use->handler->onEndPointReconnected(use->endPoint);
            return 1;
        }
    }
    table.setRetryTick(number, getRetryTick());
    return 0;
}

int KXEndPointManager::Implementation::reportLost(Number number, const Use& use) {
    // Not retried at once: a peer that accepts and hangs up again would cause a busy loop.
    if (!table.setLost(number, getRetryTick()))
        return 0;
    use->handler->onEndPointDisconnected(use->endPoint);
    return 1;
}

int KXEndPointManager::Implementation::dispatch(const std::pmr::vector<epoll_event>& events) {
    int calls = 0;
    bool isOfNobody = false;
    for (const epoll_event& event : events)
        calls += dispatchEvent(event, calls == 0, isOfNobody);
    // After a call it may be of an end point that the handler has removed, or opened anew.
    if (isOfNobody && calls == 0)
        table.renewSet();
    return calls;
}

/// \param isOfNobody  becomes true for an event that belongs to no descriptor of a registration
int KXEndPointManager::Implementation::dispatchEvent(const epoll_event& event, bool firstOfRound,
                                                     bool& isOfNobody) {
    const Number number = EndPointTable::getNumber(event);
    const Use use(table, number);
    // Removed, lost or opened anew since: by a handler of this round, or by another thread.
    if (!use.isValid() || use->descriptor < 0 || use->generation != EndPointTable::getGeneration(event)) {
        isOfNobody = true;
        return 0;
    }
    // An earlier handler of this round may have read everything.
    const unsigned int found = firstOfRound ? event.events : lookAgain(use->descriptor);
    if (isGone(found, use->descriptor))
        return reportLost(number, use);
    if ((found & EPOLLIN) == 0)
        return 0;
    use->handler->onEndPointReadable(use->endPoint, manager);
    return 1;
}

KXEndPoint::KXEndPoint() = default;
KXEndPoint::~KXEndPoint() = default;

KXEndPointHandler::~KXEndPointHandler() = default;

KXEndPointManager::KXEndPointManager() : implementation(new Implementation(this)) {}

KXEndPointManager::~KXEndPointManager() {
    delete implementation;
}

int KXEndPointManager::addEndPoint(KXEndPoint* endPoint, KXEndPointHandler* handler) {
    if (!endPoint || !handler)
        return STATUS_OUT_OF_RANGE;
    const int descriptor = endPoint->isConnected() ? endPoint->getReadEndPointID() : -1;
    try {
        return implementation->table.add(endPoint, handler, descriptor) ? STATUS_OK : STATUS_REFUSED;
    } catch (const std::bad_alloc&) {
        return STATUS_REFUSED;
    }
}

int KXEndPointManager::removeEndPoint(KXEndPoint* endPoint) {
    return implementation->table.remove(endPoint) ? STATUS_OK : STATUS_REFUSED;
}

int KXEndPointManager::waitForEndPoints(unsigned int untilTick, unsigned int /*reserved*/) {
    return implementation->wait(untilTick);
}

} // namespace KX
