#pragma once

#include "tools/kxreplay/Player.h"
#include "tools/kxreplay/statistics/Counts.h"
#include "tools/kxreplay/statistics/Grid.h"

#include <functional>
#include <string>
#include <vector>

namespace Replay {

/// Counts what is in one recording, and plays it again with each value of the grids.
///
/// For the thread that drives the simulation. No manager may exist.
class Survey {
public:
    struct Options {
        OtherSettings other;
        std::string keypadFile; ///< of plain logs; empty: the built-in layout
        std::vector<Grid> grids;
    };

    /// \param beforeFrames   makes the QApplication that the log of a CAN bus needs
    Survey(Options options, std::function<void()> beforeFrames);

    /// \throws BadFile, BadInput
    Counts countIn(const std::string& file) const;

private:
    void playGrid(const Grid& grid, const Playable& playable, const Player::Options& recorded,
                  const std::string& file, Counts& counts) const;

    const Options options;
    const std::function<void()> beforeFrames;
};

} // namespace Replay
