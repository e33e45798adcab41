#include "platform/simulated/KXSimulation.h"

#include "platform/simulated/Accounts.h"
#include "platform/simulated/CANBuses.h"
#include "platform/simulated/DebugRecord.h"
#include "platform/simulated/ReadableMarks.h"
#include "platform/simulated/Scheduler.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace KX {

namespace {

void abortWhenSomethingLives() {
    if (KXSimulation::getLivingObjects() == livingObjects.canEndPoints)
        return;
    std::fprintf(
        stderr, "KXSimulation::reset: still there: %u threads, %u mutexes, %u open pipes, %u end-point managers\n",
        livingObjects.threads.load(), livingObjects.mutexes.load(), livingObjects.openPipes.load(),
        livingObjects.endPointManagers.load());
    std::abort();
}

void clearFaults() {
    for (Fault* fault : {&faults.pipeInits, &faults.pipeWrites, &faults.pipeReads, &faults.mutexLocks,
                         &faults.mutexes, &faults.threads, &faults.canBuses})
        fault->set(0);
}

} // namespace

void KXSimulation::reset() {
    requireDriver("KXSimulation::reset");
    abortWhenSomethingLives();
    clearFaults();
    CANBuses::instance().reset();
    Scheduler::instance().reset();
    resetThreadIds();
    resetEndPointIds();
    forgetMarks();
    setPipeCapacity(defaultPipeCapacity);
    setDebugLevel(defaultDebugLevel);
    takeDebugMessages();
}

void KXSimulation::setTick(unsigned int tick) {
    requireDriver("KXSimulation::setTick");
    Scheduler::instance().setTick(tick);
}

void KXSimulation::advance(unsigned int ms) {
    requireDriver("KXSimulation::advance");
    Scheduler::instance().advance(ms);
}

void KXSimulation::endWaits() {
    requireDriver("KXSimulation::endWaits");
    Scheduler::instance().endWaits();
}

void KXSimulation::scheduleCANFrame(int bus, unsigned int tick, const KXCANMessage& frame) {
    Scheduler& scheduler = Scheduler::instance();
    CANBuses::instance().schedule(bus, scheduler.timeOf(tick), frame);
    CANBuses::instance().deliverUntil(scheduler.now());
}

void KXSimulation::setCANBusDown(int bus, bool down) {
    CANBuses::instance().setDown(bus, down);
}

unsigned int KXSimulation::getPendingCANFrames() {
    return CANBuses::instance().countPending();
}

int KXSimulation::getCANSetting(int bus) {
    return CANBuses::instance().getSetting(bus);
}

void KXSimulation::setReadable(KXEndPoint* endPoint, bool readable) {
    markReadable(endPoint, readable);
}

void KXSimulation::setPipeCapacity(int bytes) {
    pipeCapacity = std::max(bytes, 0);
}

void KXSimulation::failPipeInits(unsigned int count) {
    faults.pipeInits.set(count);
}

void KXSimulation::failPipeWrites(unsigned int count) {
    faults.pipeWrites.set(count);
}

void KXSimulation::failPipeReads(unsigned int count) {
    faults.pipeReads.set(count);
}

void KXSimulation::failMutexLocks(unsigned int count) {
    faults.mutexLocks.set(count);
}

void KXSimulation::refuseMutexes(unsigned int count) {
    faults.mutexes.set(count);
}

void KXSimulation::refuseThreads(unsigned int count) {
    faults.threads.set(count);
}

void KXSimulation::refuseCANBuses(unsigned int count) {
    faults.canBuses.set(count);
}

void KXSimulation::setDebugLevel(int level) {
    debugLevel = level;
}

std::vector<KXSimulation::DebugMessage> KXSimulation::takeDebugMessages() {
    DebugRecord& record = DebugRecord::instance();
    std::vector<DebugMessage> taken;
    if (!record.hasMessages)
        return taken;
    const KXLockGuard lock(record.mutex);
    taken.swap(record.messages);
    record.hasMessages = false;
    return taken;
}

std::vector<std::string> KXSimulation::getDebugSections() {
    DebugRecord& record = DebugRecord::instance();
    const KXLockGuard lock(record.mutex);
    return record.sections;
}

unsigned int KXSimulation::getLivingObjects() {
    return livingObjects.threads + livingObjects.mutexes + livingObjects.openPipes +
           livingObjects.endPointManagers + livingObjects.canEndPoints;
}

} // namespace KX
