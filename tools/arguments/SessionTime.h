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

private:
    bool isTick = false;
    std::uint64_t ms = 0; // since the first entry, or the tick
};

} // namespace Arguments
