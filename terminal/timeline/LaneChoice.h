#pragma once

#include "terminal/timeline/KeyTimeLine.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace Terminal {

/// Chooses which lanes of a time line to show when there is no room for all.
///
/// Lanes with something in the visible time come first, then the most recently used ones. The chosen lanes are
/// ordered by their first use, below the encoder. So no lane moves as long as there is room for all.
class LaneChoice {
public:
    /// A row without a lane shows the encoder.
    using Row = std::optional<KeyTimeLine::LaneKey>;

    struct Visible {
        KeyTimeLine::Time first;
        KeyTimeLine::Time last;
        std::size_t rows; ///< how many fit; one stays free when there are more lanes
    };

    /// \p page counts from 0, the page with the most interesting lanes. After the last page comes the first.
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
