#pragma once

#include <string>

/// Standard error of this process goes elsewhere, until the end of the scope.
class RedirectedError {
public:
    /// \param output  a descriptor, which stays the caller's
    explicit RedirectedError(int output);
    ~RedirectedError();

    RedirectedError(const RedirectedError&) = delete;
    RedirectedError& operator=(const RedirectedError&) = delete;

private:
    const int before;
};

/// Two ends, for the one that writes and the one that reads: a pipe, a pair of sockets, a terminal.
class OutputEnds {
public:
    /// A pipe of one page: it holds 4096 bytes.
    static OutputEnds makePipe();
    /// \param type  SOCK_STREAM or SOCK_DGRAM
    static OutputEnds makeSockets(int type);
    static OutputEnds makeTerminal();

    ~OutputEnds();
    OutputEnds(const OutputEnds&) = delete;
    OutputEnds& operator=(const OutputEnds&) = delete;

    /// The reader goes away.
    void closeReader();

    /// All that can be read now.
    std::string readAll() const;

    const int writer;
    int reader; ///< -1 once it is closed

private:
    OutputEnds(int writingEnd, int readingEnd) : writer(writingEnd), reader(readingEnd) {}
};
