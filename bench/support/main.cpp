// PROGRAM [--list | --only=NUMBER,NUMBER ...] [OPTIONS OF GOOGLE BENCHMARK]. --list prints a line for each measurement:
// scenario|contender|group|size. --only chooses some by their place in that list, from 0. The same line is the label of
// the measurement in Google Benchmark's results.

#include "bench/support/Measurement.h"

#include <QCoreApplication>

#include <boost/noncopyable.hpp>

#include <cstdio>
#include <cstring>
#include <future>
#include <set>
#include <sstream>
#include <thread>
#include <vector>

namespace Bench {
namespace {

std::vector<Measurement> measurements;

/// A second thread, which sleeps. Locks and some system calls are cheaper in a process that has only one thread, and
/// nobody needs queues there.
class OtherThread : private boost::noncopyable {
public:
    OtherThread() : thread([this] { end.get_future().wait(); }) {}
    ~OtherThread() {
        end.set_value();
        thread.join();
    }

private:
    std::promise<void> end;
    std::thread thread;
};

const char* getName(Group group) {
    switch (group) {
    case Group::Ours:
        return "ours";
    case Group::Limit:
        return "limit";
    case Group::Peer:
        return "peer";
    case Group::QtWithGLib:
        return "Qt with GLib";
    case Group::QtWithoutGLib:
        return "Qt without GLib";
    }
    return "";
}

std::string getLabel(const Measurement& measurement) {
    return measurement.scenario + "|" + measurement.contender + "|" + getName(measurement.group) + "|" +
           std::to_string(measurement.size);
}

void registerOne(const Measurement& measurement) {
    std::string name = measurement.scenario + "/" + measurement.contender;
    if (measurement.size != 0)
        name += "/" + std::to_string(measurement.size);
    auto* const benchmark = benchmark::RegisterBenchmark(name.c_str(), [&measurement](benchmark::State& state) {
        measurement.run(state);
        state.SetLabel(getLabel(measurement));
    });
    if (measurement.time == Time::OfClock)
        benchmark->UseRealTime();
    if (measurement.time == Time::SetByHand)
        benchmark->UseManualTime();
    if (measurement.iterations != 0)
        benchmark->Iterations(measurement.iterations);
}

int list() {
    for (const Measurement& measurement : measurements)
        std::puts(getLabel(measurement).c_str());
    return 0;
}

/// Registers those whose numbers \p only has, separated by commas; all when it is null.
void registerChosen(const char* only) {
    std::set<std::size_t> chosen;
    std::istringstream numbers(only ? only : "");
    for (std::string number; std::getline(numbers, number, ',');)
        chosen.insert(std::stoul(number));
    for (std::size_t i = 0; i < measurements.size(); ++i)
        if (!only || chosen.count(i) != 0)
            registerOne(measurements[i]);
}

} // namespace

void add(Measurement measurement) {
    measurements.push_back(std::move(measurement));
}

} // namespace Bench

int main(int argc, char** argv) {
    Bench::addAll();
    if (argc == 2 && std::strcmp(argv[1], "--list") == 0)
        return Bench::list();
    constexpr char onlyOption[] = "--only=";
    const bool isOnly = argc > 1 && std::strncmp(argv[1], onlyOption, std::strlen(onlyOption)) == 0;
    Bench::registerChosen(isOnly ? argv[1] + std::strlen(onlyOption) : nullptr);
    if (isOnly) {
        argv[1] = argv[0];
        ++argv;
        --argc;
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    // GLib's default context is for GLib's own contenders.
    Bench::chooseLoop(Bench::QtLoop::Own);
    const QCoreApplication application(argc, argv);
    const Bench::OtherThread otherThread;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
