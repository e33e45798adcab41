#include "tools/kxcan/Progress.h"

#include <cstdio>
#include <string>
#include <unistd.h>

namespace {

constexpr std::chrono::milliseconds intervalOnTerminal(200);
constexpr std::chrono::seconds intervalElsewhere(10);

} // namespace

Progress::Progress(std::size_t numberOfFrames)
    : total(numberOfFrames), isTerminal(isatty(STDERR_FILENO) == 1),
      interval(isTerminal ? Clock::duration(intervalOnTerminal) : Clock::duration(intervalElsewhere)) {}

Progress::~Progress() {
    if (isTerminal && hasShown) {
        show();
        std::fputc('\n', stderr);
    }
}

void Progress::countFrame() {
    ++sent;
    const Clock::time_point now = Clock::now();
    if (now - lastShown < interval) {
        return;
    }
    lastShown = now;
    hasShown = true;
    show();
}

void Progress::show() const {
    std::string text = "kxcan: " + std::to_string(sent);
    if (total != 0) {
        text += " of " + std::to_string(total);
    }
    text += " frames sent";
    std::fputs((isTerminal ? "\r" + text : text + "\n").c_str(), stderr);
}
