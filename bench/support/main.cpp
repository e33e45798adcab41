// PROGRAM [--list | --only=NUMBER,NUMBER ...] [OPTIONS OF GOOGLE BENCHMARK]. --list prints a line for each measurement:
// scenario|contender|group|size. --only chooses some by their place in that list, from 0. The same line is the label of
// the measurement in Google Benchmark's results.

#include "bench/support/Measurement.h"

#include <QCoreApplication>

#include <cstdio>
#include <future>
#include <set>
#include <sstream>
#include <thread>
#include <vector>

namespace Bench {
namespace {

std::vector<Measurement> measurements;

std::string getLabel(const Measurement& measurement) {
    constexpr const char* groups[] = {"ours", "limit", "peer", "Qt with GLib", "Qt without GLib"};
    return measurement.scenario + "|" + measurement.contender + "|" + groups[static_cast<int>(measurement.group)] +
           "|" + std::to_string(measurement.size);
}

void run(benchmark::State& state, const Measurement& measurement) {
    const bool isWithGLib = measurement.group == Group::QtWithGLib;
    if (isWithGLib || measurement.group == Group::QtWithoutGLib)
        startQtThread(isWithGLib, [&] {
            if (checkLoop(state, *QThread::currentThread(), isWithGLib))
                measurement.run(state);
        })->wait();
    else
        measurement.run(state);
    state.SetLabel(getLabel(measurement));
}

void registerOne(const Measurement& measurement) {
    std::string name = measurement.scenario + "/" + measurement.contender;
    if (measurement.size != 0)
        name += "/" + std::to_string(measurement.size);
    auto* const benchmark = benchmark::RegisterBenchmark(
        name.c_str(), [&measurement](benchmark::State& state) { run(state, measurement); });
    if (measurement.time == Time::OfClock)
        benchmark->UseRealTime();
    if (measurement.time == Time::SetByHand)
        benchmark->UseManualTime();
    if (measurement.iterations != 0)
        benchmark->Iterations(measurement.iterations);
}

/// Registers those whose numbers \p only has, separated by commas; all when it is empty.
void registerChosen(const std::string& only) {
    std::set<std::size_t> chosen;
    std::istringstream numbers(only);
    for (std::string number; std::getline(numbers, number, ',');)
        chosen.insert(std::stoul(number));
    for (std::size_t i = 0; i < measurements.size(); ++i)
        if (only.empty() || chosen.count(i) != 0)
            registerOne(measurements[i]);
}

} // namespace

void add(const Measurement& measurement) {
    measurements.push_back(measurement);
}

} // namespace Bench

int main(int argc, char** argv) {
    Bench::addAll();
    const std::string first = argc > 1 ? argv[1] : "";
    if (first == "--list") {
        for (const Bench::Measurement& measurement : Bench::measurements)
            std::puts(Bench::getLabel(measurement).c_str());
        return 0;
    }
    const std::string onlyOption = "--only=";
    const bool isOnly = first.rfind(onlyOption, 0) == 0;
    Bench::registerChosen(isOnly ? first.substr(onlyOption.size()) : "");
    if (isOnly) {
        ++argv;
        --argc;
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    qputenv("QT_NO_GLIB", "1"); // GLib's default context is for GLib's own contenders
    const QCoreApplication application(argc, argv);
    // A second thread, which sleeps. Locks and some system calls are cheaper in a process that has only one thread, and
    // nobody needs queues there.
    std::promise<void> end;
    std::thread otherThread([&] { end.get_future().wait(); });
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    end.set_value();
    otherThread.join();
}
