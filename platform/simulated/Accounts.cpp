#include "platform/simulated/Accounts.h"

namespace KX {

Faults faults;
LivingObjects livingObjects;
std::atomic<int> pipeCapacity{defaultPipeCapacity};

namespace {

constexpr int firstEndPointId = 1'000'000;
std::atomic<int> nextEndPointId{firstEndPointId};

} // namespace

int newEndPointId() {
    return nextEndPointId++;
}

void resetEndPointIds() {
    nextEndPointId = firstEndPointId;
}

} // namespace KX
