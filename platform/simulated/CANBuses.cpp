#include "platform/simulated/CANBuses.h"

#include "platform/KXStatus.h"
#include "platform/simulated/Accounts.h"

#include <algorithm>

namespace KX {

SimulatedCAN::SimulatedCAN(int bus) : busNumber(bus) {
    CANBuses& buses = CANBuses::instance();
    const KXLockGuard lock(CANBuses::mutex);
    buses.buses[busNumber].endPoints.push_back(this);
    buses.connect(*this);
    ++livingObjects.canEndPoints;
}

SimulatedCAN::~SimulatedCAN() {
    CANBuses& buses = CANBuses::instance();
    const KXLockGuard lock(CANBuses::mutex);
    auto& endPoints = buses.buses[busNumber].endPoints;
    endPoints.erase(std::remove(endPoints.begin(), endPoints.end(), this), endPoints.end());
    if (!forgotten)
        --livingObjects.canEndPoints;
}

int SimulatedCAN::configure(unsigned char setting) {
    CANBuses& buses = CANBuses::instance();
    const KXLockGuard lock(CANBuses::mutex);
    buses.buses[busNumber].setting = setting;
    return STATUS_OK;
}

int SimulatedCAN::readFrame(KXCANMessage& message) {
    const KXLockGuard lock(CANBuses::mutex);
    if (received.empty())
        return STATUS_REFUSED;
    message = received.front();
    received.pop_front();
    isFrameThere = !received.empty();
    return STATUS_OK;
}

int SimulatedCAN::getReadEndPointID() const {
    return readId;
}

int SimulatedCAN::getWriteEndPointID() const {
    return -1;
}

bool SimulatedCAN::isConnected() const {
    return getReadEndPointID() != -1;
}

int SimulatedCAN::reconnect() {
    CANBuses& buses = CANBuses::instance();
    const KXLockGuard lock(CANBuses::mutex);
    buses.disconnect(*this);
    return buses.connect(*this);
}

bool SimulatedCAN::hasFrames() const {
    return isFrameThere;
}

CANBuses& CANBuses::instance() {
    static CANBuses& buses = *new CANBuses;
    return buses;
}

void CANBuses::schedule(int bus, VirtualTime time, const KXCANMessage& frame) {
    const KXLockGuard lock(mutex);
    script.emplace(time, Scheduled{bus, frame});
    noteNextFrame();
}

void CANBuses::noteNextFrame() {
    nextFrameTime = script.empty() ? std::numeric_limits<VirtualTime>::max() : script.begin()->first;
}

void CANBuses::deliverUntil(VirtualTime time) {
    if (time < nextFrameTime)
        return;
    const KXLockGuard lock(mutex);
    while (!script.empty() && script.begin()->first <= time) {
        const Scheduled& due = script.begin()->second;
        const auto bus = buses.find(due.bus);
        if (bus != buses.end()) {
            for (SimulatedCAN* endPoint : bus->second.endPoints) {
                if (endPoint->readId == -1)
                    continue;
                endPoint->received.push_back(due.frame);
                endPoint->isFrameThere = true;
            }
        }
        script.erase(script.begin());
    }
    noteNextFrame();
}

VirtualTime CANBuses::getNextFrameTime() const {
    return nextFrameTime;
}

void CANBuses::setDown(int bus, bool down) {
    const KXLockGuard lock(mutex);
    buses[bus].isDown = down;
    if (down)
        for (SimulatedCAN* endPoint : buses[bus].endPoints)
            disconnect(*endPoint);
}

unsigned int CANBuses::countPending() const {
    const KXLockGuard lock(mutex);
    std::size_t pending = script.size();
    for (const auto& [number, bus] : buses)
        for (const SimulatedCAN* endPoint : bus.endPoints)
            pending += endPoint->received.size();
    return static_cast<unsigned int>(pending);
}

int CANBuses::getSetting(int bus) const {
    const KXLockGuard lock(mutex);
    const auto found = buses.find(bus);
    return found == buses.end() ? -1 : found->second.setting;
}

void CANBuses::reset() {
    const KXLockGuard lock(mutex);
    for (auto& [number, bus] : buses) {
        for (SimulatedCAN* endPoint : bus.endPoints) {
            disconnect(*endPoint);
            endPoint->forgotten = true;
            --livingObjects.canEndPoints;
        }
    }
    buses.clear();
    script.clear();
    noteNextFrame();
}

// Frames that were not read are lost, as with a socket that is closed.
void CANBuses::disconnect(SimulatedCAN& endPoint) {
    endPoint.readId = -1;
    endPoint.received.clear();
    endPoint.isFrameThere = false;
}

int CANBuses::connect(SimulatedCAN& endPoint) {
    if (endPoint.forgotten || buses[endPoint.busNumber].isDown)
        return STATUS_REFUSED;
    endPoint.readId = newEndPointId();
    return STATUS_OK;
}

KXCANRaw::KXCANRaw() = default;
KXCANRaw::~KXCANRaw() = default;

KXCANRaw* KXCANRaw::create(int bus, int /*bitRate*/, int /*receiveBuffer*/) {
    if (bus < 0 || faults.canBuses.take())
        return nullptr;
    return new SimulatedCAN(bus);
}

} // namespace KX
