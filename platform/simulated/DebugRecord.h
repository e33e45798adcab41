#pragma once

#include "platform/simulated/KXSimulation.h"

#include <atomic>
#include <mutex>
#include <string>
#include <vector>

namespace KX {

/// What was said through KXDebug. Any thread; never destroyed, because static objects may still have to say
/// something.
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
