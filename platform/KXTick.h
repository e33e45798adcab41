#pragma once

#include "platform/KXExport.h"

namespace KX {

/// The clock of the event layer.
///
/// A platform provides a count of milliseconds that never goes back. It may start anywhere and wraps from
/// 4294967295 to 0 after 49.7 days. A difference of two ticks as unsigned numbers is right across the wrap. Zero
/// is a tick like any other.
class KX_OS_ABS_API KXTick {
public:
    /// The present tick, in milliseconds. Any thread; never blocks, never fails.
    static unsigned int getTickCount();
};

} // namespace KX
