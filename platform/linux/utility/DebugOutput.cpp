#include "platform/linux/utility/DebugOutput.h"

#include <algorithm>
#include <cerrno>
#include <mutex>
#include <poll.h>
#include <unistd.h>

namespace KX {

namespace {

/// Held while a line is written: a pipe may take a long line in pieces, and no other line may come in between.
/// Constant-initialised and never destroyed, so static initialisers and destructors may use it.
std::mutex lineLock;

void waitUntilWritable() {
    pollfd query{};
    query.fd = STDERR_FILENO;
    query.events = POLLOUT;
    // EINTR: the caller tries to write, and waits again if that was too early.
    poll(&query, 1, -1);
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
    const std::lock_guard<std::mutex> guard(lineLock);
    const char* rest = line;
    std::size_t restLength = length + 1;
    while (restLength > 0) {
        const ssize_t written = write(STDERR_FILENO, rest, restLength);
        if (written > 0) {
            // A short transfer: a signal came while a pipe was full.
            rest += written;
            restLength -= static_cast<std::size_t>(written);
        } else if (written < 0 && errno == EAGAIN) {
            // Standard error is non-blocking and full.
            waitUntilWritable();
        } else if (written == 0 || errno != EINTR) {
            // EBADF: closed. EPIPE, EIO, ENOSPC: the output is gone or full. The line is lost.
            return;
        }
    }
}

} // namespace KX
