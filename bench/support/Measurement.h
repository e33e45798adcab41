#pragma once

#include "bench/support/QtThread.h"

#include <benchmark/benchmark.h>
#include <functional>
#include <string>
#include <utility>

/// How every program declares what it measures: main() of main.cpp does the rest.
namespace Bench {

/// What a contender is to the library. The promises speak of Qt with each of its two loops.
enum class Group { Ours, Limit, Peer, QtWithGLib, QtWithoutGLib };

/// Which time counts: that of the thread's work, that of the clock, or what the measurement itself sets.
enum class Time { OfThread, OfClock, SetByHand };

/// One contender in one scenario. Scenarios that begin with "growth, " are drawn as curves and measured for less time.
struct Measurement {
    std::string scenario;
    std::string contender;
    Group group;
    std::function<void(benchmark::State&)> run; ///< sets the items processed, or counters named as the metrics
    int size = 0; ///< what grows, for instance how many items wait; 0 when nothing does
    Time time = Time::OfThread;
    int iterations = 0; ///< 0: as many as Google Benchmark likes
};

void add(Measurement measurement);

/// To be defined by each program: adds its measurements.
void addAll();

/// Adds a contender that is Qt, once for each loop. \p add takes a name, a group, and what makes a run run on a thread
/// with that loop.
template<class Add>
void addForEachLoop(const std::string& name, Add addContender) {
    addContender(name, Group::QtWithGLib, OnQtThread(QtLoop::GLib));
    addContender(name + ", no GLib", Group::QtWithoutGLib, OnQtThread(QtLoop::Own));
}

} // namespace Bench
