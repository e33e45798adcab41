#pragma once

#include "platform/KXExport.h"
#include "recording/KXRecording.h"
#include "recording/KXSessionFacts.h"

#include <cstdint>
#include <optional>

namespace KX {

/// When the worker makes its passes in a session that does not tell: a plain log, or a recording written by hand. It
/// makes one every 100 ms from the first entry on, and one after each frame if it listens to the keypad's bus. The
/// last one is 200 ms after the last input or at the last entry, whichever is later. In a long pause, when nothing is
/// pending any more, passes have no effect and are left out.
///
/// A session with passes needs none of this: the schedule then has no pass. One thread at a time; nothing blocks.
class KX_RECORDING_API KXPassSchedule {
public:
    /// Of a whole session, which is not needed afterwards.
    explicit KXPassSchedule(const Recording::Session& session);

    /// \param facts  of the whole session, or of its beginning if more of it is still to come
    explicit KXPassSchedule(const Recording::SessionFacts& facts);

    /// When the next pass is due that must be made before what comes at \p timeMs. Call it again after that pass.
    /// \return nothing when no pass is due until then
    std::optional<std::uint64_t> takeNext(std::uint64_t timeMs);

    /// When the next pass is due, if nothing happens before.
    std::optional<std::uint64_t> nextMs() const;

    /// Notes that an entry was played.
    /// \return whether the worker makes a pass at once, for a frame
    bool played(const Recording::Entry& entry);

    /// When the session is over; of what was played, if the facts did not have all.
    std::uint64_t endMs() const { return sessionEndMs; }

private:
    KX_LOCAL std::uint64_t endAfter(std::uint64_t entryMs, std::uint64_t inputMs) const;

    const bool isNeeded;
    std::uint64_t sessionEndMs = 0;
    std::uint64_t pendingMs; // after an input, something may be pending for so long
    bool listensToBus;
    std::uint64_t lastPassMs;
    std::uint64_t lastInputMs;
};

} // namespace KX
