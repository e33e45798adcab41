#include "platform/simulated/Scheduler.h"

namespace KX {

namespace {

std::atomic<unsigned int> lastId{0};
std::atomic<unsigned int> generation{0}; // number of resets; an id given before the last one is not valid

thread_local unsigned int ownId = 0;
thread_local unsigned int ownGeneration = 0;

} // namespace

unsigned int currentThreadId() {
    if (const Participant* participant = Scheduler::current())
        return participant->id;
    const unsigned int presentGeneration = generation.load();
    if (ownId == 0 || ownGeneration != presentGeneration) {
        ownId = ++lastId;
        ownGeneration = presentGeneration;
    }
    return ownId;
}

unsigned int newThreadId() {
    currentThreadId(); // whoever starts the first thread is the driver and comes first
    return ++lastId;
}

void resetThreadIds() {
    lastId = 0;
    ++generation;
    currentThreadId();
}

} // namespace KX
