#include "platform/simulated/Accounts.h"

namespace KX::simulated {

Faults faults;
Living living;
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

} // namespace KX::simulated
