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
/// The driver is the one thread of the program that calls reset, setTick, advance and endWaits. It must hold no
/// KXMutex meanwhile. Any thread may call the other functions. A typical test:
///
///     KXSimulation::reset();
///     auto* manager = KXInputEventManager::createInstance();  // its worker now waits for tick 100
///     manager->toolkitEventOccurred(press);
///     KXSimulation::advance(2000);                            // the worker passes at 100, 200, ... 2000
///     EXPECT_EQ(manager->getNextEvent()...);
class KX_EXPORT KXSimulation {
public:
    KXSimulation() = delete;

    /// Restores the state at the start of the program: tick 0, no frames, no faults, no recorded messages.
    /// Threads, mutexes, open pipes and end-point managers must be destroyed before; otherwise it prints how many
    /// are left and aborts. CAN end points may be left, because a keypad that was switched on keeps its own for
    /// the life of the process. They are cut off from their bus for good and not counted any more.
    static void reset();

    /// Sets the clock, in ms. No thread runs because of it. A thread whose wait is over by then runs in the next
    /// \ref advance.
    static void setTick(unsigned int tick);

    /// Advances the clock by \p ms, across the wrap, too. Everything happens at its tick: scripted frames arrive,
    /// and waits return whose tick comes or whose end points become readable, one thread after the other in the
    /// order in which they began to wait. Returns when every thread waits again or has ended. advance(0) runs all that
    /// is due now.
    static void advance(unsigned int ms);

    /// Makes every present wait return at the present tick, as if its time had come: one pass of each worker.
    /// Returns when every thread waits again or has ended.
    static void endWaits();

    /// Puts a frame on a bus at tick \p tick, at once when that is the present one or has passed. Frames of one
    /// tick arrive in the order of these calls. A frame is lost if no end point of the bus is open by then.
    static void scheduleCANFrame(int bus, unsigned int tick, const KXCANMessage& frame);

    /// Takes a bus down or up again. While it is down, every end point of it is closed, also one that
    /// KXCANRaw::create makes meanwhile, and reconnect fails. When it is up again, each needs a reconnect; an
    /// end-point manager tries that every 1000 ms.
    static void setCANBusDown(int bus, bool down);

    /// Frames that wait to be read or to be delivered by the clock, on all buses.
    static unsigned int getPendingCANFrames();

    /// The setting last given to KXCANRaw::configure on a bus; -1 when there was none.
    static int getCANSetting(int bus);

    /// Sets whether an end point of the program's own class can be read. Pipes and CAN buses know it themselves.
    static void setReadable(KXEndPoint* endPoint, bool readable);

    /// Sets how many bytes each pipe holds before writes fail; 1 MiB at first.
    static void setPipeCapacity(int bytes);

    // Faults: the next count calls of one kind fail, as on a system at its limits.

    static void failPipeInits(unsigned int count);  ///< KXPipe::init and reconnect
    static void failPipeWrites(unsigned int count); ///< KXPipe::writeIntoPipe writes nothing
    static void failPipeReads(unsigned int count);  ///< KXPipe::readFromPipe consumes nothing
    static void failMutexLocks(unsigned int count); ///< KXMutex::lock returns false
    static void refuseMutexes(unsigned int count);  ///< KXMutex::create returns null
    static void refuseThreads(unsigned int count);  ///< KXThread::create returns null
    static void refuseCANBuses(unsigned int count); ///< KXCANRaw::create returns null: no such bus

    /// What KXDebug::debugPrintError was told.
    struct DebugMessage {
        int level;           ///< 1 (error) to 4 (trace)
        std::string section; ///< name of the section
        std::string text;    ///< without a line end
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
