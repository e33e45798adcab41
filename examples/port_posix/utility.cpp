// libKXAPI_Utility of POSIX calls: debug messages of level 1, on standard error, and numbers as text.

#include "platform/KXDebug.h"
#include "platform/KXString.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <mutex>
#include <poll.h>
#include <unistd.h>
#include <vector>

namespace KX {
namespace {

constexpr int patienceMs = 100; // an operator does not notice it

std::mutex mutex; // guards the sections, and keeps lines apart

/// Never destroyed: destructors of static objects may print.
std::vector<std::string>& sections() {
    static auto& all = *new std::vector<std::string>;
    return all;
}

/// A line that finds no room is lost. SIGPIPE is kept from the thread: a reader that has gone does not end the program.
void print(const char* line, std::size_t size) {
    sigset_t pipeSignal, before;
    sigemptyset(&pipeSignal);
    sigaddset(&pipeSignal, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipeSignal, &before);
    pollfd query{STDERR_FILENO, POLLOUT, 0};
    const bool isLost = poll(&query, 1, patienceMs) <= 0 || write(STDERR_FILENO, line, size) < 0;
    const timespec atOnce{};
    if (isLost && !sigismember(&before, SIGPIPE))
        sigtimedwait(&pipeSignal, nullptr, &atOnce);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

} // namespace

unsigned int KXDebug::insertNewDebugSection(const std::string& name) {
    const std::lock_guard<std::mutex> lock(mutex);
    auto found = std::find(sections().begin(), sections().end(), name);
    if (found == sections().end())
        found = sections().insert(found, name);
    return static_cast<unsigned int>(found - sections().begin());
}

void KXDebug::debugPrintError(int level, unsigned int key, const char* format, ...) {
    if (level > 1) // traces are not shown
        return;
    const int errorBefore = errno;
    char line[512]; // a longer message is cut
    const std::lock_guard<std::mutex> lock(mutex);
    const char* const section = key < sections().size() ? sections()[key].c_str() : "?";
    const int prefix = std::snprintf(line, sizeof(line), "[%.60s] ", section);
    std::va_list arguments;
    va_start(arguments, format);
    const int text =
        std::vsnprintf(line + prefix, sizeof(line) - static_cast<std::size_t>(prefix), format, arguments);
    va_end(arguments);
    const auto size = std::min(static_cast<std::size_t>(prefix + std::max(text, 0)), sizeof(line) - 1);
    line[size] = '\n'; // instead of the 0
    print(line, size + 1);
    errno = errorBefore;
}

std::string toString(int value) {
    return std::to_string(value);
}

} // namespace KX
