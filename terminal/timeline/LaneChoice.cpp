#include "terminal/timeline/LaneChoice.h"

#include <algorithm>
#include <iterator>

namespace Terminal {

using Time = KeyTimeLine::Time;

void LaneChoice::choose(const KeyTimeLine& timeLine, const Visible& visible, std::size_t page) {
    collect(timeLine, visible);
    const bool isCrowded = candidates.size() > visible.rows;
    const std::size_t room = std::max<std::size_t>(1, visible.rows - (isCrowded ? 1 : 0));
    pages = std::max<std::size_t>(1, (candidates.size() + room - 1) / room);
    const auto from = candidates.begin() + static_cast<std::ptrdiff_t>(page % pages * room);
    const auto to = from + std::min(static_cast<std::ptrdiff_t>(room), candidates.end() - from);
    std::sort(
        candidates.begin(), candidates.end(),
        [](const Candidate& one, const Candidate& other) {
            if (one.isVisible != other.isVisible)
                return one.isVisible;
            if (one.lastActivity != other.lastActivity)
                return one.lastActivity > other.lastActivity;
            return one.number < other.number;
        });
    std::sort(from, to, [](const Candidate& one, const Candidate& other) { return one.number < other.number; });
    chosen.clear();
    std::transform(from, to, std::back_inserter(chosen), [](const Candidate& lane) { return lane.row; });
}

void LaneChoice::collect(const KeyTimeLine& timeLine, const Visible& visible) {
    candidates.clear();
    for (const auto& [key, lane] : timeLine.lanes()) {
        const auto span = KeyTimeLine::firstSpanEndingAt(lane, visible.first);
        const bool isVisible = span != lane.spans.end() && span->start <= visible.last;
        candidates.push_back({key, isVisible, lane.spans.back().end, lane.number + 1});
    }
    if (timeLine.moves().empty())
        return;
    const auto move = timeLine.firstMoveAt(visible.first);
    const bool isVisible = move != timeLine.moves().end() && move->time <= visible.last;
    candidates.push_back({std::nullopt, isVisible, timeLine.moves().back().time, 0});
}

const std::vector<LaneChoice::Row>& LaneChoice::rows() const {
    return chosen;
}

std::size_t LaneChoice::laneCount() const {
    return candidates.size();
}

std::size_t LaneChoice::pageCount() const {
    return pages;
}

} // namespace Terminal
