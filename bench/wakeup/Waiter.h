#pragma once

#include "bench/support/QtThread.h"
#include "bench/wakeup/Arrivals.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

/// A contender: one way to hand an event to a thread that sleeps.
class Waiter {
public:
    virtual ~Waiter() = default;

    /// Hands over an event of this number, as an event object or what it takes in bytes. Posting thread.
    virtual void post(std::uint32_t number) = 0;

    /// Sleeps and takes events, as the contender's documentation has a main loop do it, until \ref Arrivals::take
    /// says that no more come. Waiting thread.
    virtual void run(Arrivals& arrivals) = 0;
};

/// How a contender is made. The thread that waits is one of Qt's, for all alike.
struct Contender {
    std::string name;
    std::function<std::unique_ptr<Waiter>()> make;
    Bench::QtLoop loop = Bench::QtLoop::GLib;
};

std::vector<Contender> getPlainContenders();
std::vector<Contender> getLoopContenders();
std::vector<Contender> getQtContenders();
