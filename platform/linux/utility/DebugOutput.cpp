#include "platform/linux/utility/DebugOutput.h"

#include "platform/BlockedSignal.h"
#include "platform/KXLocks.h"
#include "platform/linux/utility/NonBlockingError.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdio>

namespace KX {

namespace {

/// A reader that is alive empties a pipe within this time. An operator hardly notices such a delay, once.
constexpr std::chrono::milliseconds patience{100};

/// Held while a line is written: a pipe may take a long line in pieces, and no other line may come in between.
/// Constant-initialised and never destroyed, so static initialisers and destructors may use it.
KXStdMutex lineLock;

unsigned long lostLines KX_GUARDED_BY(lineLock) = 0;
bool isMidLine KX_GUARDED_BY(lineLock) = false; // the last line that began was not finished
bool isStalled KX_GUARDED_BY(lineLock) = false; // the last line was lost

using Clock = NonBlockingError::Clock;

/// \return characters that were written before \p limit
std::size_t write(const NonBlockingError& output, const char* text, std::size_t length, Clock::time_point limit)
    KX_REQUIRES(lineLock) {
    std::size_t done = 0;
    while (done < length) {
        const ssize_t written = output.write(text + done, length - done);
        if (written > 0) {
            done += static_cast<std::size_t>(written);
            isMidLine = text[done - 1] != '\n';
            continue;
        }
        const bool isFull = written < 0 && errno == EAGAIN;
        const bool isInterrupted = written < 0 && errno == EINTR;
        // EBADF: closed. EPIPE, EIO, ENOSPC: the output is gone or full for good.
        if (!isInterrupted && !(isFull && output.waitForRoom(limit)))
            break;
    }
    return done;
}

/// Tells first how many lines were lost. Both lines go in one piece if a pipe takes that whole: a notice that finds
/// room without its line would come again and again.
[[gnu::noinline]] bool writeBehindNotice(const NonBlockingError& output, const char* line, std::size_t length,
                                         Clock::time_point limit) KX_REQUIRES(lineLock) {
    char text[PIPE_BUF];
    const int noticeLength = std::snprintf(text, sizeof(text), "%s[kx_debug:1] %lu %s lost\n",
                                           isMidLine ? "\n" : "", lostLines, lostLines == 1 ? "line" : "lines");
    const auto notice = static_cast<std::size_t>(noticeLength);
    const bool fits = length <= sizeof(text) - notice;
    const std::size_t total = notice + (fits ? length : 0);
    std::copy_n(line, total - notice, text + notice);
    const std::size_t written = write(output, text, total, limit);
    if (written >= notice)
        lostLines = 0;
    return written == total && (fits || write(output, line, length, limit) == length);
}

} // namespace

void DebugOutput::writeLine(std::string& line) {
    line.push_back('\n');
    writeLine(line.data(), line.size() - 1);
}

void DebugOutput::writeLine(char* line, std::size_t length) {
    std::replace_if(
        line, line + length, [](char c) { return c == '\n' || c == '\r'; }, ' ');
    line[length] = '\n';
    const KXLockGuard guard(lineLock);
    const BlockedSignal pipeSignal(SIGPIPE);
    const BlockedSignal fileSizeSignal(SIGXFSZ);
    const NonBlockingError output;
    const auto limit = Clock::now() + (isStalled ? Clock::duration::zero() : patience);
    const bool isWritten = lostLines == 0 ? write(output, line, length + 1, limit) == length + 1
                                          : writeBehindNotice(output, line, length + 1, limit);
    isStalled = !isWritten;
    if (isStalled)
        ++lostLines;
}

} // namespace KX
