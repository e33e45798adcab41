#include "tools/arguments/SessionTime.h"

#include "tools/arguments/Grammar.h"

#include <cmath>
#include <limits>

namespace Arguments {

namespace {

// Longer than any recording: the tick wraps after 49 days.
constexpr double mostSeconds = 10'000'000;

} // namespace

SessionTime SessionTime::parse(const std::string& text) {
    SessionTime time;
    if (!text.empty() && text.back() == 's') {
        if (const auto seconds = parseDecimal(text.substr(0, text.size() - 1), 0, mostSeconds)) {
            time.ms = static_cast<std::uint64_t>(std::llround(*seconds * 1000));
            return time;
        }
    } else if (const auto tick = parseWhole(text, 0, std::numeric_limits<std::uint32_t>::max())) {
        time.isTick = true;
        time.ms = *tick;
        return time;
    }
    throw BadInput(Arguments::quoted(text) +
                   " is neither a tick (8933702) nor seconds from the beginning (12.5s)");
}

std::uint64_t SessionTime::inSession(std::uint64_t firstMs) const {
    if (!isTick)
        return firstMs + ms;
    // The difference of two ticks is right across the wrap, too.
    return firstMs + static_cast<std::uint32_t>(ms - firstMs);
}

} // namespace Arguments
