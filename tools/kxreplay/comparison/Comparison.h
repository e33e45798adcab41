#pragma once

#include "tools/kxreplay/EventOutput.h"
#include "tools/kxreplay/Player.h"

#include <string>
#include <vector>

namespace Replay {

/// Two plays of one session side by side.
///
/// Events of the same input, the same key and the same time share a row, even if they are classified differently.
/// An event without a counterpart stands alone.
class Comparison {
public:
    struct Row {
        const KX::KXInputEvent* recorded; ///< null: only the other settings give this event
        const KX::KXInputEvent* changed;  ///< null: only the recorded settings give this event

        bool differs() const;
    };

    Comparison(std::vector<PlayedEvent> recordedEvents, std::vector<PlayedEvent> changedEvents);

    Comparison(const Comparison&) = delete; // rows point into the events
    Comparison& operator=(const Comparison&) = delete;

    const std::vector<Row>& getRows() const;

    /// All rows for people: rows that differ are marked, and the last line counts them.
    /// \param otherSettings  as on the command line
    std::string toText(const std::string& otherSettings) const;

    /// One object per row that differs, {"recorded":event or null,"changed":event or null}. The last object is
    /// {"differences":number}.
    std::string toJSON() const;

private:
    using Place = std::vector<PlayedEvent>::const_iterator;

    void addRows(Place recordedBegin, Place recordedEnd, Place changedBegin, Place changedEnd);
    std::string countDifferences() const;

    const std::vector<PlayedEvent> recorded;
    const std::vector<PlayedEvent> changed;
    std::vector<Row> rows;
};

} // namespace Replay
