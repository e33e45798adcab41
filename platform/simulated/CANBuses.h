#pragma once

#include "platform/KXCANMessage.h"
#include "platform/KXCANRaw.h"
#include "platform/simulated/Scheduler.h"

#include <deque>
#include <map>
#include <mutex>
#include <vector>

namespace KX {

/// An end point on a bus. Its state is guarded by the mutex of \ref CANBuses.
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
    int readId = -1;        // -1: disconnected
    bool forgotten = false; // made before a reset: cut off from its bus and not counted
    std::deque<KXCANMessage> received;
};

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

    void disconnect(SimulatedCAN& endPoint);
    int connect(SimulatedCAN& endPoint);

    mutable std::mutex mutex;

    // guarded by mutex
    std::map<int, Bus> buses;
    std::multimap<VirtualTime, Scheduled> script; // equal times stay in the order of the calls
};

} // namespace KX
