#include "tools/arguments/SessionTime.h"

#include "tools/arguments/Grammar.h"

#include <cmath>
#include <limits>

namespace Arguments {

namespace {

// Longer than any recording: the tick wraps after 49 days.
constexpr double mostSeconds = 10'000'000;

std::string tick(std::uint64_t ms) {
    return std::to_string(static_cast<std::uint32_t>(ms));
}

std::string seconds(std::uint64_t ms) {
    return std::to_string(ms / 1000) + "." + std::to_string(1000 + ms % 1000).substr(1) + " s";
}

[[noreturn]] void refuseBehindTheEnd(const std::string& option, bool isTick, std::uint64_t ms,
                                     std::uint64_t firstMs, std::uint64_t lastMs) {
    if (isTick)
        throw BadInput(option + ": tick " + tick(ms) + " is not in the recording (" + tick(firstMs) + " to " +
                       tick(lastMs) + ")");
    throw BadInput(option + ": " + seconds(ms - firstMs) + " is behind the end of the recording, at " +
                   seconds(lastMs - firstMs));
}

} // namespace

SessionTime SessionTime::parse(const std::string& text) {
    SessionTime time;
    if (!text.empty() && text.back() == 's') {
        if (const auto seconds = parseDecimal(text.substr(0, text.size() - 1), 0, mostSeconds)) {
            time.ms = static_cast<std::uint64_t>(std::llround(*seconds * 1000));
            return time;
        }
    } else if (const auto tick = parseWhole(text, 0, std::numeric_limits<std::uint32_t>::max())) {
        time.isATick = true;
        time.ms = *tick;
        return time;
    }
    throw BadInput(Arguments::quoted(text) +
                   " is neither a tick (8933702) nor seconds from the beginning (12.5s)");
}

std::uint64_t SessionTime::inSession(std::uint64_t firstMs) const {
    if (!isATick)
        return firstMs + ms;
    // The difference of two ticks is right across the wrap, too.
    return firstMs + static_cast<std::uint32_t>(ms - firstMs);
}

SessionPart SessionPart::choose(const std::optional<SessionTime>& from, const std::optional<SessionTime>& to,
                                std::uint64_t firstMs, std::uint64_t lastMs) {
    const SessionPart part{from ? from->inSession(firstMs) : firstMs, to ? to->inSession(firstMs) : lastMs};
    if (part.fromMs > lastMs)
        refuseBehindTheEnd("--from", from->isTick(), part.fromMs, firstMs, lastMs);
    if (to && to->isTick() && part.toMs > lastMs)
        refuseBehindTheEnd("--to", true, part.toMs, firstMs, lastMs);
    if (part.toMs < part.fromMs)
        throw BadInput("--to: tick " + tick(part.toMs) + " is before --from, tick " + tick(part.fromMs));
    return part;
}

} // namespace Arguments
