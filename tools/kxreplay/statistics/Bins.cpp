#include "tools/kxreplay/statistics/Bins.h"

#include <algorithm>
#include <stdexcept>

namespace Replay {

namespace {

std::vector<int> evenBins(int width, int last) {
    std::vector<int> bins;
    for (int lower = 0; lower <= last; lower += width)
        bins.push_back(lower);
    return bins;
}

} // namespace

const std::vector<int>& binsOf(Counted kind) {
    static const std::vector<int> gaps = evenBins(25, 1000);
    static const std::vector<int> holds = evenBins(100, 3000);
    // The time gaps of the encoder's default table, and the gap after which it starts anew.
    static const std::vector<int> stepTimes = {0, 2, 8, 12, 20, 35, 55, 100, 201};
    // A distance of exactly 5 ms is within 5 ms.
    static const std::vector<int> distances = {0, 6, 11, 26, 51};
    switch (kind) {
    case Counted::Gaps: return gaps;
    case Counted::Holds: return holds;
    case Counted::StepTimes: return stepTimes;
    case Counted::CloseCalls: return distances;
    default: throw std::logic_error("this kind of count has no bins");
    }
}

int binFor(Counted kind, unsigned int value) {
    const std::vector<int>& bins = binsOf(kind);
    const auto above = std::find_if(bins.begin(), bins.end(),
                                    [value](int lower) { return static_cast<unsigned int>(lower) > value; });
    return *std::prev(above);
}

} // namespace Replay
