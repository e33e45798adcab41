#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Replay {

/// A time axis: milliseconds to pixels, with round marks.
class TimeAxis {
public:
    TimeAxis(std::int64_t firstMs, std::int64_t lastMs, double leftPixel, double rightPixel);

    double pixelOf(std::int64_t ms) const;

    /// Round times that are some hundred pixels apart.
    std::vector<std::int64_t> marks() const;

    /// A time in the unit of the marks: "1.2 s", "12:30", "1:02:00".
    std::string nameOf(std::int64_t ms) const;

private:
    std::int64_t distance() const;

    const std::int64_t first;
    const std::int64_t last;
    const double leftEnd;
    const double rightEnd;
};

} // namespace Replay
