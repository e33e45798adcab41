#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace Arguments {

/// A moment of a recording, for --from and --to: a tick in ms as recordings and printed events show it ("8933702"), or
/// seconds since the first entry ("12.5s").
class SessionTime {
public:
    /// \throws BadInput  why it is no such time
    static SessionTime parse(const std::string& text);

    /// The same moment in the time of the session's entries, which goes on when the tick wraps. A tick below the
    /// first one means the time after the wrap.
    /// \param firstMs  time of the first entry
    std::uint64_t inSession(std::uint64_t firstMs) const;

    /// Whether it is a tick, and not seconds.
    bool isTick() const { return isATick; }

private:
    bool isATick = false;
    std::uint64_t ms = 0; // since the first entry, or the tick
};

/// The part of a recording that --from and --to choose, in the time of the session's entries.
struct SessionPart {
    std::uint64_t fromMs;
    std::uint64_t toMs;

    /// A --to in seconds may lie behind the end, a tick may not: it would be one of 49 days later.
    /// \param from     none: the beginning
    /// \param to       none: the end
    /// \param firstMs  time of the first entry
    /// \param lastMs   end of the session
    /// \throws BadInput  which of the two does not fit, and why
    static SessionPart choose(const std::optional<SessionTime>& from, const std::optional<SessionTime>& to,
                              std::uint64_t firstMs, std::uint64_t lastMs);
};

} // namespace Arguments
