#pragma once

#include <chrono>

/// The steady clock of the whole program, the library's too, stands still until the end of the scope.
class StandingClock {
public:
    StandingClock();
    ~StandingClock();

    StandingClock(const StandingClock&) = delete;
    StandingClock& operator=(const StandingClock&) = delete;

    static void advance(std::chrono::milliseconds time);

    /// Each question for the time moves it on. Any thread may ask.
    static void advanceAtEachQuestion(std::chrono::milliseconds time);
};
