#include "platform/simulated/Scheduler.h"

#include "platform/simulated/CANBuses.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace KX {

namespace {

thread_local Participant* currentParticipant = nullptr;

constexpr unsigned int halfRange = 1u << 31;

// Twice what a thread needs that drains a full pipe byte by byte.
constexpr unsigned int mostWaitsAtOneTick = 2u << 20;

} // namespace

Scheduler& Scheduler::instance() {
    static Scheduler& scheduler = *new Scheduler;
    return scheduler;
}

unsigned int Scheduler::getTick() const {
    return static_cast<unsigned int>(now());
}

VirtualTime Scheduler::now() const {
    return time.load(std::memory_order_relaxed);
}

VirtualTime Scheduler::timeOf(unsigned int wantedTick) const {
    const VirtualTime present = now();
    const auto presentTick = static_cast<unsigned int>(present);
    const unsigned int behind = presentTick - wantedTick;
    return behind < halfRange ? present - behind : present + (wantedTick - presentTick);
}

void Scheduler::setTick(unsigned int wantedTick) {
    moveTo(timeOf(wantedTick));
    CANBuses::instance().deliverUntil(now());
}

void Scheduler::advance(unsigned int ms) {
    stepThrough(now() + ms, nullptr);
}

void Scheduler::endWaits() {
    std::uint64_t end;
    {
        const KXLockGuard lock(mutex);
        end = nextWaitNumber;
        waitsSinceMove = 0;
    }
    // Only the waits that go on now: a thread that waits again has had its pass.
    while (Participant* participant = takeFirstBefore(end))
        release(*participant);
}

void Scheduler::reset() {
    moveTo(0);
}

Participant* Scheduler::current() {
    return currentParticipant;
}

const void* Scheduler::caller() {
    if (currentParticipant)
        return currentParticipant;
    return &currentParticipant; // each thread has its own
}

void Scheduler::runLaunched(Participant& self) {
    {
        const KXLockGuard lock(mutex);
        self.stopping = false;
        self.state = Participant::State::running;
    }
    release(self);
}

bool Scheduler::stop(Participant& self) {
    KXUniqueLock lock(mutex);
    if (self.state == Participant::State::running && currentParticipant)
        return false;
    self.stopping = true;
    waitsSinceMove = 0;
    const auto wait = std::find_if(waits.begin(), waits.end(),
                                   [&self](const Wait& candidate) { return candidate.participant == &self; });
    if (wait == waits.end()) { // another thread of the system runs it at the moment, or nobody does any more
        hasEnded.wait(lock, [&self]() KX_REQUIRES(mutex) { return self.state != Participant::State::running; });
        return true;
    }
    takeOut(wait);
    lock.unlock();
    release(self);
    return true;
}

bool Scheduler::isRunningOrWaiting(const Participant& self) const {
    const KXLockGuard lock(mutex);
    return self.state == Participant::State::running || self.state == Participant::State::waiting;
}

bool Scheduler::wait(VirtualTime wakeTime, Watched& watched) {
    if (currentParticipant)
        return handOver(*currentParticipant, wakeTime, watched);
    stepThrough(wakeTime, &watched);
    return false;
}

bool Scheduler::isStopping() const {
    return currentParticipant && currentParticipant->stopping;
}

void Scheduler::countWait() {
    if (!currentParticipant)
        return;
    if (++waitsSinceMove <= mostWaitsAtOneTick)
        return;
    std::fprintf(stderr,
                 "KXSimulation: thread \"%s\" waits again and again at tick %u and time cannot go on: a handler "
                 "does not read, or a loop does not see that it is to stop\n",
                 currentParticipant->name.c_str(), getTick());
    std::abort();
}

bool Scheduler::handOver(Participant& self, VirtualTime wakeTime, Watched& watched) {
    {
        const KXLockGuard lock(mutex);
        if (self.stopping)
            return true;
        waits.push_back({nextWaitNumber++, &self}); // may throw
        self.state = Participant::State::waiting;
        self.waitEnded = false;
        self.wakeTime = wakeTime;
        self.watched = &watched;
    }
    self.coroutine->pause();
    const KXLockGuard lock(mutex);
    return self.waitEnded || self.stopping;
}

void Scheduler::stepThrough(VirtualTime target, Watched* until) {
    for (;;) {
        runWhatIsDue();
        if (until && until->isReady())
            return;
        const VirtualTime next = nextEvent();
        if (next > target)
            break;
        moveTo(next);
    }
    moveTo(target);
}

void Scheduler::runWhatIsDue() {
    waitsSinceMove = 0;
    CANBuses::instance().deliverUntil(now());
    while (Participant* participant = takeFirstDue())
        release(*participant);
}

Participant* Scheduler::takeFirstDue() {
    KXUniqueLock lock(mutex);
    auto wait = waits.begin();
    while (wait != waits.end()) {
        const auto [number, participant] = *wait;
        bool isDue = participant->wakeTime <= now();
        if (!isDue) {
            Watched& watched = *participant->watched;
            lock.unlock();
            isDue = watched.isReady();
            lock.lock();
            wait = firstFrom(number);
        }
        if (isDue) {
            takeOut(wait);
            return participant;
        }
        ++wait;
    }
    return nullptr;
}

Participant* Scheduler::takeFirstBefore(std::uint64_t waitNumber) {
    const KXLockGuard lock(mutex);
    const auto wait = waits.begin();
    if (wait == waits.end() || wait->number >= waitNumber)
        return nullptr;
    Participant* participant = wait->participant;
    participant->waitEnded = true;
    takeOut(wait);
    return participant;
}

Scheduler::Waits::iterator Scheduler::firstFrom(std::uint64_t waitNumber) {
    return std::find_if(
        waits.begin(), waits.end(), [waitNumber](const Wait& wait) { return wait.number >= waitNumber; });
}

void Scheduler::takeOut(Waits::iterator wait) {
    wait->participant->state = Participant::State::running;
    waits.erase(wait);
}

VirtualTime Scheduler::nextEvent() const {
    VirtualTime next = CANBuses::instance().getNextFrameTime();
    const KXLockGuard lock(mutex);
    for (const Wait& wait : waits)
        next = std::min(next, wait.participant->wakeTime);
    return next;
}

void Scheduler::moveTo(VirtualTime target) {
    time.store(target, std::memory_order_relaxed);
    waitsSinceMove = 0;
}

void Scheduler::release(Participant& participant) {
    Participant* const resumer = std::exchange(currentParticipant, &participant);
    const bool isOver = participant.coroutine->resume();
    currentParticipant = resumer;
    if (!isOver) // another thread may have stopped it by now
        return;
    {
        const KXLockGuard lock(mutex);
        participant.state = Participant::State::ended;
    }
    hasEnded.notify_all();
}

void requireDriver(const char* function) {
    if (!currentParticipant)
        return;
    std::fprintf(stderr, "%s: called on the simulated thread \"%s\"; only the driver may\n", function,
                 currentParticipant->name.c_str());
    std::abort();
}

} // namespace KX
