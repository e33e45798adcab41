#pragma once

#include "input/KXInputObserver.h"
#include "recording/recorder/EntryLog.h"

#include <deque>
#include <optional>

namespace KX::Recording {

/// The moments in a log at which the manager was at rest: a new manager with the same settings would go on the same.
///
/// The next input may show that a moment was no rest after all. A press may pair with one before that moment,
/// because the double-press time became longer meanwhile. A wheel that turns many detents at once may go on with
/// the encoder's last turn. A key may be down at rest if its press cannot become long any more: every manager
/// handles its release alike. Otherwise there would be no more rest after a lost release, and nothing could be
/// saved.
class RestPoints {
public:
    /// The session begins here, with a new manager.
    void addBeginning(const EntryLog::Place& place);

    /// Call it before each input, except for passes.
    /// \param place  of the entry
    void input(const Entry& entry, const EntryLog::Place& place, const KXInputMemory& memory);

    /// Call it before each pass.
    void pass(unsigned int tick, const EntryLog::Place& place, const KXInputMemory& memory);

    /// Whether the encoder has forgotten its last step since the last entry.
    bool hasLostStep(const KXInputMemory& memory) const {
        return before.stepTimeStamp != 0 && memory.stepTimeStamp == 0;
    }

    std::optional<EntryLog::Place> last() const;

    /// The last rest at or before \p timeMs; else the first one.
    std::optional<EntryLog::Place> lastBefore(std::uint64_t timeMs) const;

    /// Whether the last entry has shown that \p place was no rest after all. \p place may have been dropped.
    bool wasDisproved(const EntryLog::Place& place) const;

    void dropBefore(const EntryLog::Place& place);

    /// Forgets all, without an allocation.
    void clear();

    std::size_t bytes() const { return points.size() * sizeof(EntryLog::Place); }

    /// In a long rest, only one point in this time is kept, and the last one.
    static constexpr unsigned int spacingMs = 1000;

private:
    void noteChanges(const EntryLog::Place& place, const KXInputMemory& memory);
    void dropSince(const EntryLog::Place& place);

    std::deque<EntryLog::Place> points;
    std::optional<EntryLog::Place> disprovedSince; // as the last entry has shown
    KXInputMemory before;
    bool hasStep = false;      // a step's time stamp may be 0
    EntryLog::Place lastPress; // behind it
    EntryLog::Place lastStep;
};

} // namespace KX::Recording
