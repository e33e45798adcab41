#pragma once

#include <array>
#include <exception>
#include <functional>
#include <streambuf>
#include <string>

namespace Replay {

/// Catches SIGINT and SIGTERM as a descriptor that a wait can watch. The interrupts do nothing else meanwhile.
class InterruptSignals {
public:
    /// \throws std::runtime_error
    InterruptSignals();
    ~InterruptSignals();

    InterruptSignals(const InterruptSignals&) = delete;
    InterruptSignals& operator=(const InterruptSignals&) = delete;

    int descriptor() const { return interrupts; }

    /// Looks for a signal, and returns the first one that came; 0: none.
    int take();

    /// The signal that \ref take found; 0: none.
    int found() const { return caught; }

private:
    int interrupts = -1;
    int caught = 0;
};

/// A signal has ended the reading. No error: it goes through all that reads, unlike a std::exception.
struct Interrupted {};

/// Reads a file that somebody appends to, or a pipe. Where the file ends, it waits until there is more, or until the
/// pipe's writer has gone, which is the end of the input. A signal ends the wait with \ref Interrupted.
class GrowingInput : public std::streambuf {
public:
    /// \param path        "-" is standard input
    /// \param beforeWait  is called before each wait
    /// \throws BadFile
    GrowingInput(const std::string& path, InterruptSignals& interrupts, std::function<void()> beforeWait);
    ~GrowingInput() override;

    GrowingInput(const GrowingInput&) = delete;
    GrowingInput& operator=(const GrowingInput&) = delete;

    /// Throws what made reading fail, or what \c beforeWait threw. Nothing failed: does nothing.
    void throwFailure() const;

protected:
    int_type underflow() override;

private:
    void open(const std::string& path);
    void watch(const std::string& path);
    bool readMore();
    void wait();
    void drainChanges();
    void checkThatItHasNotShrunk() const;

    const std::string name;
    InterruptSignals& interrupts;
    const std::function<void()> callBeforeWait;
    int input = -1;
    int changes = -1; // of a file; -1: of a pipe, or the system does not tell
    bool isFile = false;
    std::exception_ptr failure;
    std::array<char, 16384> block;
};

} // namespace Replay
