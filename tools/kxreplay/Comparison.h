#pragma once

#include "tools/kxreplay/EventOutput.h"
#include "tools/kxreplay/Player.h"

#include <string>
#include <vector>

namespace Replay {

/// Two plays of one session side by side.
///
/// What came of the same input, of the same key and at the same time stands in one row, also where it is
/// classified otherwise; what has no counterpart stands alone.
class Comparison {
public:
    struct Row {
        const KX::KXInputEvent* recorded; ///< null: came out with the other settings only
        const KX::KXInputEvent* changed;  ///< null: came out as recorded only

        bool differs() const;
    };

    Comparison(std::vector<PlayedEvent> recordedEvents, std::vector<PlayedEvent> changedEvents);

    Comparison(const Comparison&) = delete; // rows point into the events
    Comparison& operator=(const Comparison&) = delete;

    const std::vector<Row>& getRows() const;

    /// For people: all rows, the differing ones marked, and a line that counts these.
    /// \param otherSettings  what they are, as on the command line
    std::string toText(const std::string& otherSettings) const;

    /// An object for each row that differs, {"recorded":event or null,"changed":event or null}, and at last
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
