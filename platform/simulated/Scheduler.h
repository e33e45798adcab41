#pragma once

#include "platform/KXLocks.h"
#include "platform/simulated/Coroutine.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace KX {

/// Milliseconds of virtual time that do not wrap: the tick is their low 32 bits. Negative when the clock was
/// set back beyond where the program started.
using VirtualTime = std::int64_t;

/// A condition that ends a wait before its time.
class Watched {
public:
    /// Whether the wait has something to do now. Called without the scheduler's lock.
    virtual bool isReady() = 0;

protected:
    ~Watched() = default;
};

struct Participant;

/// The clock, and the right to run.
///
/// Simulated threads are coroutines. They run on the driver's thread of the system, one at a time, and pause in their
/// waits.
/// Never destroyed, because threads and static objects may outlive main().
class Scheduler {
public:
    static Scheduler& instance();

    unsigned int getTick() const;
    VirtualTime now() const;

    /// The time that a tick means: less than half the range back, otherwise ahead.
    VirtualTime timeOf(unsigned int tick) const;

    void setTick(unsigned int tick);
    void advance(unsigned int ms);
    void endWaits();
    void reset();

    /// The simulated thread that calls; null on any other thread.
    static Participant* current();

    /// Tells apart who calls: the address of a simulated thread, or of something that a thread of the system has alone.
    static const void* caller();

    /// Lets \p self, which has just been launched, run until it waits or ends.
    void runLaunched(Participant& self) KX_EXCLUDES(mutex);

    /// Makes the waits of \p self return at once and lets it run until it ends.
    /// \return false when the caller would wait for itself, directly or by way of another thread
    bool stop(Participant& self) KX_EXCLUDES(mutex);

    bool isRunningOrWaiting(const Participant& self) const;

    /// Waits until \p wakeTime, or until \p watched is ready: a simulated thread by handing over, the driver by
    /// moving the clock.
    /// \return true when the wait was ended from outside, although neither has come
    bool wait(VirtualTime wakeTime, Watched& watched);

    /// Whether the calling thread's waits return at once because it is being stopped.
    bool isStopping() const;

    /// Counts the waits of simulated threads at one tick. Aborts after so many that the clock will not advance.
    void countWait();

private:
    friend struct Participant;

    bool handOver(Participant& self, VirtualTime wakeTime, Watched& watched) KX_EXCLUDES(mutex);
    void stepThrough(VirtualTime target, Watched* until) KX_EXCLUDES(mutex);
    void runWhatIsDue() KX_EXCLUDES(mutex);
    Participant* takeFirstDue() KX_EXCLUDES(mutex);
    Participant* takeFirstBefore(std::uint64_t waitNumber) KX_EXCLUDES(mutex);
    VirtualTime nextEvent() const KX_EXCLUDES(mutex);
    void moveTo(VirtualTime target);
    void release(Participant& participant) KX_EXCLUDES(mutex);

    struct Wait {
        std::uint64_t number;
        Participant* participant;
    };
    using Waits = std::vector<Wait>;
    Waits::iterator firstFrom(std::uint64_t waitNumber) KX_REQUIRES(mutex);
    void takeOut(Waits::iterator wait) KX_REQUIRES(mutex);

    inline static KXStdMutex mutex;   // static: it also guards the participants
    std::condition_variable hasEnded; // a participant
    std::atomic<VirtualTime> time{0};
    Waits waits KX_GUARDED_BY(mutex); // in the order in which they began, so by number
    std::uint64_t nextWaitNumber KX_GUARDED_BY(mutex) = 0;
    std::atomic<unsigned int> waitsSinceMove{0};
};

/// A thread made through KXThread, as the scheduler sees it.
struct Participant {
    enum class State { idle, running, waiting, ended };

    std::string name;
    unsigned int id = 0;

    State state KX_GUARDED_BY(Scheduler::mutex) = State::idle;
    std::atomic<bool> stopping{false}; ///< its waits return at once from now on; written with the mutex
    bool waitEnded KX_GUARDED_BY(Scheduler::mutex) = false; ///< its present wait is over, whatever the clock says
    VirtualTime wakeTime KX_GUARDED_BY(Scheduler::mutex) = 0;
    Watched* watched KX_GUARDED_BY(Scheduler::mutex) = nullptr;

    std::unique_ptr<Coroutine> coroutine; ///< paused in each wait; null before the first run
};

/// Ends the program with "<function>: <reason>" when a simulated thread calls what only the driver may.
void requireDriver(const char* function);

/// The id of the calling thread, given out at the first call; the one that starts the first thread gets 1.
unsigned int currentThreadId();
unsigned int newThreadId();

/// Begins anew: the caller gets 1.
void resetThreadIds();

} // namespace KX
