#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <tuple>

namespace Replay {

/// What is counted. Each kind says what the numbers of its cells mean.
enum class Counted : int {
    Recordings,
    Milliseconds,   ///< from the first to the last entry of the recordings
    Warnings,       ///< recordings that are cut off or of a newer version
    LeftOut,        ///< recordings that could not be played
    Gestures,       ///< device, key code or button, toolkit's key, gesture
    Steps,          ///< of the knob: direction key
    Gaps,           ///< between two presses of a key: the lower end of the bin, ms
    Holds,          ///< from a press to its release: the lower end of the bin, ms
    StepTimes,      ///< steps of the knob: the lower end of the bin, ms a step
    CloseCalls,     ///< limit, whether it was reached, least distance of the bin, ms
    GridRecordings, ///< limit, its value: recordings that were played with it
    GridDoubles,    ///< limit, its value: double presses
    GridLongs,      ///< limit, its value: long presses
    GridImpossible, ///< limit, its value: recordings whose other limit forbids it
};

/// The two limits that classify presses.
enum class Limit : int { DoublePress, LongPress };

/// One thing that is counted. Plain data, so that it can be handed from process to process.
struct Cell {
    Counted kind{};
    std::array<int, 4> numbers{}; ///< those that the kind does not need are 0

    friend bool operator<(const Cell& one, const Cell& other) {
        return std::tie(one.kind, one.numbers) < std::tie(other.kind, other.numbers);
    }
};

/// Counts of any number of recordings. The sum of two is that of all their recordings, in any order.
class Counts {
public:
    using Cells = std::map<Cell, std::uint64_t>;

    void add(Counted kind, std::array<int, 4> numbers = {}, std::uint64_t count = 1) {
        if (count != 0)
            cells[{kind, numbers}] += count;
    }
    void add(const Counts& other) {
        for (const auto& [cell, count] : other.cells)
            cells[cell] += count;
    }

    std::uint64_t of(Counted kind, std::array<int, 4> numbers = {}) const {
        const auto found = cells.find({kind, numbers});
        return found == cells.end() ? 0 : found->second;
    }

    /// Calls \p visit with the numbers and the count of each cell of this kind, in order.
    template<typename Visitor>
    void forEach(Counted kind, Visitor visit) const {
        for (const auto& [cell, count] : cells)
            if (cell.kind == kind)
                visit(cell.numbers, count);
    }

    const Cells& all() const { return cells; }

private:
    Cells cells;
};

} // namespace Replay
