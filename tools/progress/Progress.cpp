#include "tools/progress/Progress.h"

#include <cstdio>
#include <unistd.h>
#include <utility>

namespace Progress {

namespace {

constexpr std::chrono::milliseconds intervalOnTerminal(200);
constexpr std::chrono::milliseconds intervalOfTenths(500);
constexpr std::chrono::seconds intervalElsewhere(10);

std::chrono::milliseconds intervalFor(bool isTerminal, bool hasTotal) {
    if (isTerminal)
        return intervalOnTerminal;
    return hasTotal ? intervalOfTenths : intervalElsewhere;
}

} // namespace

Reporter::Reporter(std::string programName, std::string doneText, std::size_t totalNumber)
    : program(std::move(programName)), done(std::move(doneText)), total(totalNumber),
      isTerminal(isatty(STDERR_FILENO) == 1), interval(intervalFor(isTerminal, total != 0)) {}

Reporter::~Reporter() {
    if (isTerminal && hasShown) {
        show();
        std::fputc('\n', stderr);
    }
}

void Reporter::countOne() {
    ++count;
    const Clock::time_point now = Clock::now();
    if (now - lastShown < interval || !isNextTenth())
        return;
    lastShown = now;
    hasShown = true;
    show();
}

// In a file one line per tenth is enough.
bool Reporter::isNextTenth() const {
    return isTerminal || total == 0 || count * 10 / total > shownCount * 10 / total;
}

void Reporter::show() {
    shownCount = count;
    std::string text = program + ": " + std::to_string(count);
    if (total != 0)
        text += " of " + std::to_string(total);
    text += " " + done;
    std::fputs((isTerminal ? "\r" + text : text + "\n").c_str(), stderr);
}

} // namespace Progress
