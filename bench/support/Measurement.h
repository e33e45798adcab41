#pragma once

#include <QAbstractEventDispatcher>
#include <QThread>

#include <benchmark/benchmark.h>
#include <cstring>
#include <functional>
#include <memory>
#include <string>

/// How every program declares what it measures: main() of main.cpp does the rest.
namespace Bench {

/// What a contender is to the library. The promises speak of Qt with each of its two loops; these contenders run on a
/// thread of Qt's with that loop.
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

void add(const Measurement& measurement);

/// Adds a measurement for each size.
template<class Run>
void addSizes(const std::string& scenario, const std::string& contender, Group group, Run run,
              std::initializer_list<int> sizes, Time time = Time::OfThread) {
    for (const int size : sizes)
        add({scenario, contender, group,
             [=](benchmark::State& state) { run(state, static_cast<std::size_t>(size)); }, size, time});
}

/// To be defined by each program: adds its measurements.
void addAll();

/// Adds a contender that is Qt, once for each loop, by \p addContender(name, group).
template<class Add>
void addForEachLoop(const std::string& name, Add addContender) {
    addContender(name, Group::QtWithGLib);
    addContender(name + ", no GLib", Group::QtWithoutGLib);
}

/// A thread of Qt's that does \p work, with GLib's loop, which an application gets where Qt is built as Debian builds
/// it, or with Qt's own. Qt reads the variable each time.
template<class Work>
std::unique_ptr<QThread> startQtThread(bool isWithGLib, Work work) {
    isWithGLib ? qunsetenv("QT_NO_GLIB") : qputenv("QT_NO_GLIB", "1");
    std::unique_ptr<QThread> thread(QThread::create(work));
    thread->start();
    return thread;
}

/// Ends the measurement with an error when a thread that has started has the other loop.
inline bool checkLoop(benchmark::State& state, const QThread& thread, bool isWithGLib) {
    const bool isGLib = std::strstr(thread.eventDispatcher()->metaObject()->className(), "Glib") != nullptr;
    if (isGLib != isWithGLib)
        state.SkipWithError("Qt runs another loop than it was told to");
    return isGLib == isWithGLib;
}

} // namespace Bench
