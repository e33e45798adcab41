#include "support/RedirectedError.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

RedirectedError::RedirectedError(int output) : before(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3)) {
    dup2(output, STDERR_FILENO);
}

RedirectedError::~RedirectedError() {
    dup2(before, STDERR_FILENO);
    close(before);
}

OutputEnds OutputEnds::makePipe() {
    int ends[2] = {-1, -1};
    EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
    EXPECT_EQ(fcntl(ends[1], F_SETPIPE_SZ, 4096), 4096) << "the tests know a page of 4096 bytes";
    return OutputEnds(ends[1], ends[0]);
}

OutputEnds OutputEnds::makeSockets(int type) {
    int ends[2] = {-1, -1};
    EXPECT_EQ(socketpair(AF_UNIX, type | SOCK_CLOEXEC, 0, ends), 0);
    return OutputEnds(ends[1], ends[0]);
}

OutputEnds OutputEnds::makeTerminal() {
    const int screen = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    EXPECT_EQ(grantpt(screen), 0);
    EXPECT_EQ(unlockpt(screen), 0);
    const int line = open(ptsname(screen), O_RDWR | O_NOCTTY | O_CLOEXEC);
    EXPECT_GE(line, 0);
    return OutputEnds(line, screen);
}

OutputEnds::~OutputEnds() {
    closeReader();
    close(writer);
}

void OutputEnds::closeReader() {
    if (reader >= 0)
        close(reader);
    reader = -1;
}

std::string OutputEnds::readAll() const {
    std::string text;
    char buffer[65536];
    pollfd query{reader, POLLIN, 0};
    while (poll(&query, 1, 0) > 0) {
        const ssize_t taken = read(reader, buffer, sizeof(buffer));
        if (taken <= 0)
            break;
        text.append(buffer, static_cast<std::size_t>(taken));
    }
    return text;
}
