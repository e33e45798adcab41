#pragma once

#include "platform/KXExport.h"

#include <string>
#include <vector>

namespace KX {

class KXCANMessage;
class KXEndPoint;

/// Drives the simulated platform: the clock, the CAN frames and the faults of a test or a replay.
///
/// Link a program against the simulated platform instead of the three libraries of the real one, and the event
/// layer runs in virtual time: the clock stands still until the driver moves it, and threads made through
/// KXThread run only while it does, each until it waits again. Nothing depends on how fast the machine is, and
/// the same calls give the same events every time.
///
/// The driver is the one thread of the program that calls these functions; it must hold no KXMutex meanwhile.
/// A typical test:
///
///     KXSimulation::reset();
///     auto* manager = KXInputEventManager::createInstance();  // its worker now waits for tick 100
///     manager->toolkitEventOccurred(press);
///     KXSimulation::advance(2000);                            // the worker passes at 100, 200, ... 2000
///     EXPECT_EQ(manager->getNextEvent()...);
class KX_EXPORT KXSimulation {
public:
    KXSimulation() = delete;

    /// Everything as at the start of the program: tick 0, no frames, no faults, no recorded messages. Threads,
    /// mutexes, pipes and end-point managers must have been destroyed before; if not, says so and aborts. CAN
    /// end points may be left, because a keypad that was switched on keeps its own for the life of the process:
    /// they are cut off from their bus for good and counted no more.
    static void reset();

    // ---- time

    /// Sets the clock. Nobody runs because of it, not even a thread whose wait is over by it: it runs in the
    /// next \ref advance.
    static void setTick(unsigned int tick);

    /// Moves the clock on by \p ms, across the wrap too, and lets everything happen at its time: scripted
    /// frames arrive, waits whose tick comes or whose end points become readable return, one thread after the
    /// other in the order in which they began to wait. Returns when every thread waits again or has ended.
    /// advance(0) lets happen what is due now.
    static void advance(unsigned int ms);

    /// Makes every wait that is going on return at the present tick, as if its time had come, and returns when
    /// every thread waits again or has ended: one pass of a worker, whatever the clock says.
    static void endWaits();

    // ---- end points

    /// Puts a frame on a bus at tick \p tick (at once when that is the present one or has passed); frames of
    /// one tick arrive in the order of these calls. Nobody gets it when nobody has opened the bus by then.
    static void scheduleCANFrame(int bus, unsigned int tick, const KXCANMessage& frame);

    /// Takes a bus down or up again. While it is down, every end point of it is closed, also one that
    /// KXCANRaw::create makes meanwhile, and reconnect fails. When it is up again, each needs a reconnect; an
    /// end-point manager tries that every 1000 ms.
    static void setCANBusDown(int bus, bool down);

    /// Frames that wait to be read or to be delivered by the clock, on all buses.
    static unsigned int getPendingCANFrames();

    /// The setting last given to KXCANRaw::configure on a bus; -1 when there was none.
    static int getCANSetting(int bus);

    /// Says whether an end point of the program's own class can be read; pipes and CAN buses know it themselves.
    static void setReadable(KXEndPoint* endPoint, bool readable);

    /// How many bytes a pipe takes before writes fail; applies to all pipes; 1 MiB at first.
    static void setPipeCapacity(int bytes);

    // ---- faults: the next \p count of these calls fail, as they would on a system at its limits

    static void failPipeInits(unsigned int count);
    static void failPipeWrites(unsigned int count);
    static void failPipeReads(unsigned int count);
    static void failMutexLocks(unsigned int count);
    static void refuseMutexes(unsigned int count);  ///< KXMutex::create returns null
    static void refuseThreads(unsigned int count);  ///< KXThread::create returns null
    static void refuseCANBuses(unsigned int count); ///< KXCANRaw::create returns null: no such bus

    // ---- what the event layer said and what it holds

    struct DebugMessage {
        int level;
        std::string section;
        std::string text;
    };

    /// Messages above this level are not recorded; 4 at first, which records all.
    static void setDebugLevel(int level);

    /// The messages recorded since the last call, oldest first.
    static std::vector<DebugMessage> takeDebugMessages();

    /// Names of all debug sections, in the order in which they were registered.
    static std::vector<std::string> getDebugSections();

    /// Platform objects (threads, mutexes, pipes that are open, end-point managers, CAN end points) that exist
    /// now. The same number before and after means that nothing was left behind.
    static unsigned int getLivingObjects();
};

} // namespace KX
