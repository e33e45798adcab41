#pragma once

#include "tools/kxreplay/statistics/Counts.h"

#include <vector>

namespace Replay {

/// The lower ends of the bins of a histogram, rising from 0. The last bin has no upper end.
const std::vector<int>& binsOf(Counted kind);

/// The lower end of the bin that \p value is in.
int binFor(Counted kind, unsigned int value);

} // namespace Replay
