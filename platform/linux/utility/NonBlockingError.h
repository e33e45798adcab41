#pragma once

#include <chrono>
#include <cstddef>
#include <sys/types.h>

namespace KX {

/// Standard error, for a scope, with writes that do not wait for its reader.
///
/// The flag O_NONBLOCK of standard error stays as it is. Other programs may share it, a shell for instance.
/// The caller blocks SIGPIPE.
class NonBlockingError {
public:
    using Clock = std::chrono::steady_clock;

    NonBlockingError();
    ~NonBlockingError();

    NonBlockingError(const NonBlockingError&) = delete;
    NonBlockingError& operator=(const NonBlockingError&) = delete;

    /// As the system's write: it may take a part, or fail with EAGAIN while there is no room. A pipe takes up to
    /// PIPE_BUF bytes whole or not at all.
    ssize_t write(const char* text, std::size_t length) const;

    /// Waits for room, at most until \p limit.
    /// \return false when that time is over; otherwise another attempt is worth it
    bool waitForRoom(Clock::time_point limit) const;

private:
    enum class Kind {
        file,       ///< never waits for a reader
        socket,     ///< is told with each call not to wait
        openedAnew, ///< a pipe or a terminal, with a flag of its own
        shared      ///< the same where it may not be opened anew
    };

    int descriptor;
    Kind kind = Kind::shared;
};

} // namespace KX
