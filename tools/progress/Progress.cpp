#include "tools/progress/Progress.h"

#include <cstdio>
#include <unistd.h>
#include <utility>

namespace {

constexpr std::chrono::milliseconds intervalOnTerminal(200);
constexpr std::chrono::seconds intervalElsewhere(10);

} // namespace

Progress::Progress(std::string programName, std::string doneText, std::size_t totalNumber)
    : program(std::move(programName)), done(std::move(doneText)), total(totalNumber),
      isTerminal(isatty(STDERR_FILENO) == 1),
      interval(isTerminal ? Clock::duration(intervalOnTerminal) : Clock::duration(intervalElsewhere)) {}

Progress::~Progress() {
    if (isTerminal && hasShown) {
        show();
        std::fputc('\n', stderr);
    }
}

void Progress::countOne() {
    ++count;
    const Clock::time_point now = Clock::now();
    if (now - lastShown < interval) {
        return;
    }
    lastShown = now;
    hasShown = true;
    show();
}

void Progress::show() const {
    std::string text = program + ": " + std::to_string(count);
    if (total != 0) {
        text += " of " + std::to_string(total);
    }
    text += " " + done;
    std::fputs((isTerminal ? "\r" + text : text + "\n").c_str(), stderr);
}
