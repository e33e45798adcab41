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
    explicit Summary(const KX::Recording::SessionFacts& facts);

    void take(const PlayedEvent& played);

    std::string toText() const;

    /// One object per line. The first field, "is", names its kind: the session, the count of one type, or a close
    /// call.
    std::string toJSON() const;

private:
    std::string describeInputs() const;

    const KX::Recording::SessionFacts inputs;
    std::size_t eventCount = 0;
    std::map<int, std::size_t> countOfType;
    ClosestCalls closest;
};

} // namespace Replay
