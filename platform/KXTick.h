#pragma once

#include "platform/KXExport.h"

namespace KX {

/// The clock of the event layer.
///
/// What a platform provides: a count of milliseconds that never goes back, starts anywhere, and wraps from
/// 4294967295 to 0 after 49.7 days. Users subtract two ticks as unsigned numbers, which stays right across the
/// wrap; zero is a tick like any other.
class KX_OS_ABS_API KXTick {
public:
    /// The present tick, in milliseconds. Any thread; never blocks, never fails.
    static unsigned int getTickCount();
};

} // namespace KX
