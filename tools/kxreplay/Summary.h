#pragma once

#include "tools/kxreplay/ClosestCalls.h"
#include "tools/kxreplay/Player.h"

#include <cstddef>
#include <map>
#include <string>

namespace Replay {

/// A session at a glance: how many events of each type, and which input was nearly classified differently.
class Summary {
public:
    explicit Summary(const KX::Recording::Session& session);

    void take(const PlayedEvent& played);

    std::string toText() const;

    /// One object per line. The first field, "is", names its kind: the session, the count of one type, or a close
    /// call.
    std::string toJSON() const;

private:
    struct Inputs {
        std::size_t toolkitEvents = 0;
        std::size_t frames = 0;
        std::size_t passes = 0;
    };

    std::string describeInputs() const;

    Inputs inputs;
    std::uint64_t firstMs = 0;
    std::uint64_t lastMs = 0;
    std::size_t eventCount = 0;
    std::map<int, std::size_t> countOfType;
    ClosestCalls closest;
};

} // namespace Replay
