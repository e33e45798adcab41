#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

/// A run of a program that is fed and read piece by piece.
class PipedProgram {
public:
    PipedProgram(const char* program, const std::vector<std::string>& arguments);
    ~PipedProgram();
    PipedProgram(const PipedProgram&) = delete;
    PipedProgram& operator=(const PipedProgram&) = delete;

    void write(const std::string& text) const;
    void closeInput();

    /// Waits for the next line of its standard output, at most a minute.
    /// \return without the line end; "(end)" when the program has closed its output; "(nothing)" after the minute
    std::string readLine();

    /// The rest of its output.
    std::string readAll();

    void raise(int signal) const;

    /// Kills the first process that the program has started.
    void killChild() const;

    /// \return its exit status; 1000 and the number of the signal that ended it
    int wait();

private:
    bool readMore();

    pid_t process = -1;
    int input = -1;
    int output = -1;
    std::string unread;
};
