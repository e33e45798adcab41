#pragma once

#include "terminal/KeyTimeLine.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace Terminal {

/// Chooses which lanes of a time line to show where there is no room for all.
///
/// Lanes with something in the visible time come first, then those used last. Those chosen stand in the order in
/// which they were first used, the encoder above them, so none moves as long as there is room for all.
class LaneChoice {
public:
    /// A row without a lane shows the encoder.
    using Row = std::optional<KeyTimeLine::LaneKey>;

    struct Visible {
        KeyTimeLine::Time first;
        KeyTimeLine::Time last;
        std::size_t rows; ///< that there is room for; one of them is left free when there are more lanes
    };

    /// \p page counts from 0, with the most interesting lanes; beyond the last page it begins anew.
    void choose(const KeyTimeLine& timeLine, const Visible& visible, std::size_t page);

    const std::vector<Row>& rows() const;
    std::size_t laneCount() const;
    std::size_t pageCount() const;

private:
    struct Candidate {
        Row row;
        bool isVisible;
        KeyTimeLine::Time lastActivity;
        std::uint64_t number;
    };

    void collect(const KeyTimeLine& timeLine, const Visible& visible);

    std::vector<Candidate> candidates;
    std::vector<Row> chosen;
    std::size_t pages = 1;
};

} // namespace Terminal
