#pragma once

#include "platform/KXLocks.h"
#include "platform/simulated/KXSimulation.h"

#include <atomic>
#include <string>
#include <vector>

namespace KX {

/// The messages of KXDebug. Any thread. Never destroyed, because destructors of static objects may report.
struct DebugRecord {
    static DebugRecord& instance();

    KXStdMutex mutex;
    std::vector<std::string> sections KX_GUARDED_BY(mutex); // the key is the index plus 1
    std::vector<KXSimulation::DebugMessage> messages KX_GUARDED_BY(mutex);
    std::atomic<bool> hasMessages{false}; // written with the mutex
};

inline constexpr int defaultDebugLevel = 4;
extern std::atomic<int> debugLevel;

} // namespace KX
