#pragma once

#include "platform/simulated/KXSimulation.h"

#include <atomic>
#include <mutex>
#include <string>
#include <vector>

namespace KX {

/// The messages of KXDebug. Any thread. Never destroyed, because destructors of static objects may report.
struct DebugRecord {
    static DebugRecord& instance();

    std::mutex mutex;

    // guarded by mutex
    std::vector<std::string> sections; // the key is the index plus 1
    std::vector<KXSimulation::DebugMessage> messages;
};

inline constexpr int defaultDebugLevel = 4;
extern std::atomic<int> debugLevel;

} // namespace KX
