#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace Progress {

/// Reports progress on standard error. On a terminal it overwrites one line. Elsewhere it writes a line per tenth,
/// or one every ten seconds when the total is unknown. A short play reports nothing.
class Reporter {
public:
    /// \param programName  the beginning of each report
    /// \param doneText     what is counted: "frames sent"
    /// \param total        0: unknown
    Reporter(std::string programName, std::string doneText, std::size_t total);

    /// Ends the line on a terminal, so that later output starts on a new one.
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
