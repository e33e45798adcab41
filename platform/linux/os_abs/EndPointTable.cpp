#include "platform/linux/os_abs/EndPointTable.h"

#include "platform/StandardOutputs.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace KX {

namespace {

/// Token of the eventfd that ends a sleep. Numbers of registrations begin at 1.
constexpr std::uint64_t wakeUpToken = 0;

/// A waiting thread uses one end point at a time, and one more for each wait inside a handler.
constexpr std::size_t usualUses = 8;

epoll_event makeRequest(EndPointTable::Number number, std::uint32_t generation) {
    epoll_event request{};
    request.events = EPOLLIN | EPOLLRDHUP;
    request.data.u64 = static_cast<std::uint64_t>(number) << 32 | generation;
    return request;
}

bool watchWakeUps(int epollDescriptor, int wakeUpDescriptor) {
    epoll_event request{};
    request.events = EPOLLIN;
    request.data.u64 = wakeUpToken;
    return epoll_ctl(epollDescriptor, EPOLL_CTL_ADD, wakeUpDescriptor, &request) == 0;
}

} // namespace

EndPointTable::EndPointTable()
    : epollDescriptor(keepOffStandardOutputs(epoll_create1(EPOLL_CLOEXEC))),
      wakeUpDescriptor(keepOffStandardOutputs(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))) {
    // Fails when one of the two descriptors is -1 (EMFILE, ENFILE, ENOMEM), or for lack of memory.
    if (!watchWakeUps(epollDescriptor, wakeUpDescriptor)) {
        for (int* descriptor : {&epollDescriptor, &wakeUpDescriptor}) {
            if (*descriptor >= 0)
                close(*descriptor);
            *descriptor = -1;
        }
    }
}

EndPointTable::~EndPointTable() {
    if (isOpen()) {
        close(wakeUpDescriptor);
        close(epollDescriptor);
    }
}

bool EndPointTable::isOpen() const {
    return epollDescriptor >= 0;
}

void EndPointTable::wakeSleeper() const {
    const std::uint64_t one = 1;
    // EAGAIN: woken 2^64 - 2 times since the last sleep. The thread is awake then and needs no wake-up.
    const ssize_t written = write(wakeUpDescriptor, &one, sizeof(one));
    static_cast<void>(written);
}

bool EndPointTable::add(KXEndPoint* endPoint, KXEndPointHandler* handler, int descriptor) {
    const KXLockGuard guard(lock);
    const bool known = std::any_of(registrations.begin(), registrations.end(),
                                   [&](const auto& entry) { return entry.second.endPoint == endPoint; });
    if (known || !isOpen())
        return false;
    users.reserve(usualUses); // now, because a wait without memory would fail again and again
    const Number number = ++lastNumber;
    Registration& registration = registrations[number];
    registration.endPoint = endPoint;
    registration.handler = handler;
    if (descriptor < 0) {
        // Nothing is watched for it, so the waiting thread has to wake up, report it and schedule its retry.
        wakeSleeper();
        return true;
    }
    if (!startWatching(number, registration, descriptor)) {
        registrations.erase(number);
        return false;
    }
    return true;
}

bool EndPointTable::remove(const KXEndPoint* endPoint) {
    KXUniqueLock guard(lock);
    const auto found = std::find_if(registrations.begin(), registrations.end(),
                                    [&](const auto& entry) { return entry.second.endPoint == endPoint; });
    if (found == registrations.end())
        return false;
    const Number number = found->first;
    stopWatching(found->second);
    registrations.erase(found);
    useEnded.wait(guard, [&]() KX_REQUIRES(lock) { return !isUsedElsewhere(number); });
    return true;
}

bool EndPointTable::watch(Number number, int descriptor) {
    const KXLockGuard guard(lock);
    const auto found = registrations.find(number);
    if (found == registrations.end())
        return false;
    stopWatching(found->second);
    if (!startWatching(number, found->second, descriptor))
        return false;
    found->second.lost = false;
    return true;
}

bool EndPointTable::isWatched(Number number, int descriptor) {
    const KXLockGuard guard(lock);
    const auto found = registrations.find(number);
    if (found == registrations.end() || descriptor < 0 || found->second.descriptor != descriptor)
        return false;
    // Changes nothing, but fails with ENOENT or EBADF when the file that is watched is no longer this one.
    epoll_event request = makeRequest(number, found->second.generation);
    return epoll_ctl(epollDescriptor, EPOLL_CTL_MOD, descriptor, &request) == 0;
}

bool EndPointTable::setLost(Number number, unsigned int retryTick) {
    const KXLockGuard guard(lock);
    const auto found = registrations.find(number);
    if (found == registrations.end() || found->second.lost)
        return false;
    stopWatching(found->second);
    found->second.lost = true;
    found->second.retryTick = retryTick;
    return true;
}

void EndPointTable::setRetryTick(Number number, unsigned int retryTick) {
    const KXLockGuard guard(lock);
    const auto found = registrations.find(number);
    if (found != registrations.end())
        found->second.retryTick = retryTick;
}

void EndPointTable::getNumbers(std::pmr::vector<Number>& numbers) const {
    const KXLockGuard guard(lock);
    numbers.clear();
    numbers.reserve(registrations.size());
    for (const auto& entry : registrations)
        numbers.push_back(entry.first);
}

int EndPointTable::getTimeToNextRetry(unsigned int now, int limit) const {
    const KXLockGuard guard(lock);
    for (const auto& entry : registrations)
        if (entry.second.lost)
            limit = std::min(limit, static_cast<int>(entry.second.retryTick - now));
    return std::max(limit, 0);
}

void EndPointTable::sleep(std::pmr::vector<epoll_event>& events, int timeoutMs) {
    if (!isOpen()) {
        // Nothing can be watched, but the caller's loop must not spin because of it.
        poll(nullptr, 0, timeoutMs);
        events.clear();
        return;
    }
    {
        const KXLockGuard guard(lock);
        events.resize(registrations.size() + 1);
    }
    const int found = epoll_wait(epollDescriptor, events.data(), static_cast<int>(events.size()), timeoutMs);
    // EINTR: a signal; the caller looks at the clock and sleeps again.
    events.resize(found > 0 ? static_cast<std::size_t>(found) : 0);
    dropWakeUps(events);
}

// The new set takes the number of the old one, which other threads may use at this moment.
void EndPointTable::renewSet() {
    const KXLockGuard guard(lock);
    const int renewed = keepOffStandardOutputs(epoll_create1(EPOLL_CLOEXEC));
    // EMFILE, ENFILE, ENOMEM: the next round tries again.
    if (renewed < 0)
        return;
    bool isWhole = watchWakeUps(renewed, wakeUpDescriptor);
    for (const auto& [number, registration] : registrations) {
        epoll_event request = makeRequest(number, registration.generation);
        // What the old set does not watch is closed, and its number may belong to another file by now.
        const bool isInOldSet = registration.descriptor >= 0 &&
                                epoll_ctl(epollDescriptor, EPOLL_CTL_MOD, registration.descriptor, &request) == 0;
        if (isInOldSet && epoll_ctl(renewed, EPOLL_CTL_ADD, registration.descriptor, &request) != 0)
            isWhole = false; // ENOMEM, ENOSPC: the same
    }
    if (isWhole)
        dup3(renewed, epollDescriptor, O_CLOEXEC);
    close(renewed);
}

void EndPointTable::dropWakeUps(std::pmr::vector<epoll_event>& events) const {
    const auto isWakeUp = [](const epoll_event& event) { return event.data.u64 == wakeUpToken; };
    const auto rest = std::remove_if(events.begin(), events.end(), isWakeUp);
    if (rest == events.end())
        return;
    events.erase(rest, events.end());
    std::uint64_t wakeUps = 0;
    // EAGAIN: another waiting thread was faster.
    const ssize_t taken = read(wakeUpDescriptor, &wakeUps, sizeof(wakeUps));
    static_cast<void>(taken);
}

/// Called for a descriptor that is new to the epoll set. A registration that still has its number had a file that
/// was closed unnoticed; the number must not lead from there to the new file.
void EndPointTable::forgetDescriptor(int descriptor) {
    for (auto& entry : registrations)
        if (entry.second.descriptor == descriptor)
            entry.second.descriptor = -1;
}

bool EndPointTable::startWatching(Number number, Registration& registration, int descriptor) {
    ++registration.generation;
    epoll_event request = makeRequest(number, registration.generation);
    // EPERM: a file that is always readable, which epoll cannot watch. EEXIST: another registered end point has
    // the descriptor. EBADF: not open. ENOMEM, ENOSPC: the system is at its limits.
    if (epoll_ctl(epollDescriptor, EPOLL_CTL_ADD, descriptor, &request) != 0)
        return false;
    forgetDescriptor(descriptor);
    registration.descriptor = descriptor;
    return true;
}

void EndPointTable::stopWatching(Registration& registration) {
    if (registration.descriptor >= 0) {
        // EBADF, ENOENT: closed already, which removed it from the set.
        epoll_ctl(epollDescriptor, EPOLL_CTL_DEL, registration.descriptor, nullptr);
        registration.descriptor = -1;
    }
}

/// The calling thread's own uses do not count: a removal inside a handler would wait for itself.
bool EndPointTable::isUsedElsewhere(Number number) const {
    const std::thread::id self = std::this_thread::get_id();
    return std::any_of(users.begin(), users.end(),
                       [&](const User& user) { return user.number == number && user.thread != self; });
}

EndPointTable::Number EndPointTable::getNumber(const epoll_event& event) {
    return static_cast<Number>(event.data.u64 >> 32);
}

std::uint32_t EndPointTable::getGeneration(const epoll_event& event) {
    return static_cast<std::uint32_t>(event.data.u64);
}

bool EndPointTable::beginUse(Number number, Registration& registration) {
    const KXLockGuard guard(lock);
    const auto found = registrations.find(number);
    if (found == registrations.end())
        return false;
    registration = found->second;
    users.push_back({number, std::this_thread::get_id()});
    return true;
}

void EndPointTable::endUse(Number number) {
    const KXLockGuard guard(lock);
    const std::thread::id self = std::this_thread::get_id();
    users.erase(std::find_if(users.begin(), users.end(),
                             [&](const User& user) { return user.number == number && user.thread == self; }));
    useEnded.notify_all();
}

EndPointTable::Use::Use(EndPointTable& usedTable, Number usedNumber)
    : table(usedTable), number(usedNumber), valid(table.beginUse(number, registration)) {}

EndPointTable::Use::~Use() {
    if (valid)
        table.endUse(number);
}

} // namespace KX
