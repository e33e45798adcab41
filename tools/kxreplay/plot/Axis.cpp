#include "tools/kxreplay/plot/Axis.h"

#include <algorithm>
#include <array>

namespace Replay {

namespace {

constexpr std::int64_t second = 1000;
constexpr std::int64_t minute = 60 * second;
constexpr std::int64_t hour = 60 * minute;
constexpr std::int64_t day = 24 * hour;

constexpr std::array<std::int64_t, 26> roundDistances = {
    10,          20,          50,          100,      200,        500,        second,      2 * second,  5 * second,
    10 * second, 20 * second, 30 * second, minute,   2 * minute, 5 * minute, 10 * minute, 20 * minute, 30 * minute,
    hour,        2 * hour,    4 * hour,    8 * hour, day,        2 * day,    5 * day,     10 * day};

std::string twoDigits(std::int64_t number) {
    return std::to_string(number + 100).substr(1);
}

} // namespace

TimeAxis::TimeAxis(std::int64_t firstMs, std::int64_t lastMs, double leftPixel, double rightPixel)
    : first(firstMs), last(std::max(lastMs, firstMs + 1)), leftEnd(leftPixel), rightEnd(rightPixel) {}

double TimeAxis::pixelOf(std::int64_t ms) const {
    return leftEnd + static_cast<double>(ms - first) * (rightEnd - leftEnd) / static_cast<double>(last - first);
}

std::int64_t TimeAxis::distance() const {
    constexpr double leastPixels = 80;
    const double leastMs = leastPixels * static_cast<double>(last - first) / (rightEnd - leftEnd);
    const auto found = std::find_if(roundDistances.begin(), roundDistances.end(),
                                    [leastMs](std::int64_t ms) { return static_cast<double>(ms) >= leastMs; });
    if (found != roundDistances.end())
        return *found;
    return (static_cast<std::int64_t>(leastMs) / day + 1) * day;
}

std::vector<std::int64_t> TimeAxis::marks() const {
    const std::int64_t step = distance();
    std::vector<std::int64_t> found;
    for (std::int64_t ms = (first + step - 1) / step * step; ms <= last; ms += step)
        found.push_back(ms);
    return found;
}

std::string TimeAxis::nameOf(std::int64_t ms) const {
    if (last >= hour)
        return std::to_string(ms / hour) + ":" + twoDigits(ms / minute % 60) + ":" + twoDigits(ms / second % 60);
    if (last >= 2 * minute)
        return std::to_string(ms / minute) + ":" + twoDigits(ms / second % 60);
    const std::int64_t step = distance();
    if (step >= second)
        return std::to_string(ms / second) + " s";
    const std::string thousandths = std::to_string(ms % second + second).substr(1);
    const std::size_t digits = step >= 100 ? 1 : 2;
    return std::to_string(ms / second) + "." + thousandths.substr(0, digits) + " s";
}

} // namespace Replay
