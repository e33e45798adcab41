#pragma once

#include "platform/KXCANMessage.h"
#include "platform/KXCANRaw.h"
#include "platform/KXLocks.h"
#include "platform/simulated/Scheduler.h"

#include <atomic>
#include <deque>
#include <limits>
#include <map>
#include <vector>

namespace KX {

class SimulatedCAN;

/// The buses and the script of frames. Any thread; never destroyed.
class CANBuses {
public:
    static CANBuses& instance();

    void schedule(int bus, VirtualTime time, const KXCANMessage& frame);

    /// Delivers the frames that are due at \p time to the open end points of their bus.
    void deliverUntil(VirtualTime time);

    /// The largest time when nothing is scheduled.
    VirtualTime getNextFrameTime() const;

    void setDown(int bus, bool down);
    unsigned int countPending() const;
    int getSetting(int bus) const;
    void reset();

private:
    friend class SimulatedCAN;

    struct Bus {
        bool isDown = false;
        int setting = -1;
        std::vector<SimulatedCAN*> endPoints;
    };

    struct Scheduled {
        int bus;
        KXCANMessage frame;
    };

    void noteNextFrame() KX_REQUIRES(mutex);
    void disconnect(SimulatedCAN& endPoint) KX_REQUIRES(mutex);
    int connect(SimulatedCAN& endPoint) KX_REQUIRES(mutex);

    inline static KXStdMutex mutex; // static: it also guards the end points
    std::map<int, Bus> buses KX_GUARDED_BY(mutex);
    // Equal times stay in the order of the calls.
    std::multimap<VirtualTime, Scheduled> script KX_GUARDED_BY(mutex);

    // Each step of the clock asks for it, and most find nothing due. Written with the mutex.
    std::atomic<VirtualTime> nextFrameTime{std::numeric_limits<VirtualTime>::max()};
};

/// An end point on a bus.
class SimulatedCAN : public KXCANRaw {
public:
    /// Closed when the bus is down.
    explicit SimulatedCAN(int bus);
    ~SimulatedCAN() override;

    int configure(unsigned char setting) override;
    int readFrame(KXCANMessage& message) override;
    int getReadEndPointID() const override;
    int getWriteEndPointID() const override;
    bool isConnected() const override;
    int reconnect() override;

    bool hasFrames() const;

private:
    friend class CANBuses;

    const int busNumber;
    // The worker asks for these in each pass, so they can be read without the mutex. Written with it.
    std::atomic<int> readId{-1}; // -1: disconnected
    std::atomic<bool> isFrameThere{false};

    // Made before a reset: cut off from its bus and not counted.
    bool forgotten KX_GUARDED_BY(CANBuses::mutex) = false;
    std::deque<KXCANMessage> received KX_GUARDED_BY(CANBuses::mutex);
};

} // namespace KX
