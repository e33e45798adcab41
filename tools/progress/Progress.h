#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace Progress {

/// Tells on standard error how far a play has come: on a terminal on one line that is written over, else, where
/// it may be a file, on a line of its own for each tenth, now and then where the end is not known; nothing in half a
/// second.
class Reporter {
public:
    /// \param programName  stands before what is told
    /// \param doneText     what has been done with what is counted: "frames sent"
    /// \param total        0: not known
    Reporter(std::string programName, std::string doneText, std::size_t total);

    /// Ends the line on a terminal, so that what is said next does not stand in it.
    ~Reporter();

    Reporter(const Reporter&) = delete;
    Reporter& operator=(const Reporter&) = delete;

    void countOne();

private:
    using Clock = std::chrono::steady_clock;

    bool isNextTenth() const;
    void show();

    const std::string program;
    const std::string done;
    const std::size_t total;
    const bool isTerminal;
    const Clock::duration interval;
    Clock::time_point lastShown = Clock::now();
    std::size_t count = 0;
    std::size_t shownCount = 0;
    bool hasShown = false;
};

} // namespace Progress
