// full_bus [SECONDS [PERCENT]]: a keypad on a full bus, all the way to the classified event. Ends with status 1
// when a frame or an event is lost, or the process takes PERCENT of a processor core or more (5 by default).

#include "bench/fullbus/BusProcess.h"
#include "bench/fullbus/BusTraffic.h"
#include "bench/fullbus/FrameCount.h"
#include "bench/fullbus/KeypadApplication.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTimer>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/resource.h>
#include <unistd.h>

namespace {

double getProcessorSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto toSeconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
    };
    return toSeconds(usage.ru_utime) + toSeconds(usage.ru_stime);
}

/// The bus of this run, in a folder of its own.
class BusFolder {
public:
    BusFolder() {
        if (mkdtemp(name) == nullptr) {
            std::perror("full_bus");
            std::exit(1);
        }
    }
    ~BusFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(name, ignored);
    }
    BusFolder(const BusFolder&) = delete;
    BusFolder& operator=(const BusFolder&) = delete;

    std::string getBus() const {
        return "unix:" + std::string(name) + "/bus";
    }

private:
    char name[24] = "/tmp/kx_fullbus_XXXXXX";
};

/// Sends what is printed by the library where it costs a system call a line, as on a terminal, and nothing else.
std::FILE* keepOutputForUs() {
    std::FILE* const output = fdopen(dup(STDOUT_FILENO), "w");
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nowhere, STDOUT_FILENO);
    close(nowhere);
    return output;
}

struct Result {
    std::uint32_t sent = 0;
    double seconds = 0;
    double processorSeconds = 0;
};

bool isComplete(const KeypadApplication& application, std::uint32_t sent) {
    return FrameCount::get() >= sent && application.getKeyEvents() >= BusTraffic::countKeyFrames(sent) &&
           application.getEncoderSteps() >= BusTraffic::countEncoderFrames(sent);
}

/// Runs the main loop until all was sent, and until the last events are there.
Result run(const BusProcess& bus, const KeypadApplication& application) {
    Result result;
    QElapsedTimer clock;
    clock.start();
    const double processorSecondsBefore = getProcessorSeconds();
    QSocketNotifier sent(bus.getReadEndPointID(), QSocketNotifier::Read);
    QObject::connect(&sent, &QSocketNotifier::activated, [&] {
        result.sent = bus.readSent();
        result.seconds = static_cast<double>(clock.nsecsElapsed()) * 1e-9;
        result.processorSeconds = getProcessorSeconds() - processorSecondsBefore;
        QCoreApplication::quit();
    });
    bus.start();
    QCoreApplication::exec();
    sent.setEnabled(false);
    const int longForAnyMachineMs = 10000;
    clock.restart();
    while (!isComplete(application, result.sent) && clock.elapsed() < longForAnyMachineMs) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }
    // What came twice would come now.
    QTimer::singleShot(300, [] { QCoreApplication::quit(); });
    QCoreApplication::exec();
    return result;
}

bool report(std::FILE* output, const Result& result, const KeypadApplication& application, double mostPercent) {
    const std::uint32_t keys = BusTraffic::countKeyFrames(result.sent);
    const std::uint32_t steps = BusTraffic::countEncoderFrames(result.sent);
    const double percent = 100 * result.processorSeconds / result.seconds;
    std::fprintf(output, "frames sent          %u in %.2f s, %.0f a second\n", result.sent, result.seconds,
                 result.sent / result.seconds);
    std::fprintf(output, "frames read          %u, %u out of order\n", FrameCount::get(),
                 FrameCount::getOutOfOrder());
    std::fprintf(output, "key events           %u of %u, %u of them not as expected\n", application.getKeyEvents(),
                 keys, application.getWrongEvents());
    std::fprintf(output, "encoder steps        %u of %u, in %u events\n", application.getEncoderSteps(), steps,
                 application.getEncoderEvents());
    std::fprintf(output, "processor time       %.2f s, %.2f %% of one core (below %.1f %% wanted)\n",
                 result.processorSeconds, percent, mostPercent);
    const bool isLossless = result.sent > 0 && FrameCount::get() == result.sent &&
                            FrameCount::getOutOfOrder() == 0 && application.getKeyEvents() == keys &&
                            application.getWrongEvents() == 0 && application.getEncoderSteps() == steps;
    const bool isCheap = percent < mostPercent;
    std::fprintf(output, "%s%s\n", isLossless ? "nothing was lost" : "FAILED: something was lost",
                 isCheap ? "" : "; FAILED: too much processor time");
    return isLossless && isCheap;
}

} // namespace

int main(int argc, char** argv) {
    const int seconds = argc > 1 ? std::atoi(argv[1]) : 60;
    const double mostPercent = argc > 2 ? std::atof(argv[2]) : 5;
    if (argc > 3 || seconds < 1 || seconds > 3600 || !(mostPercent > 0)) {
        std::fprintf(stderr, "usage: full_bus [SECONDS (1 to 3600) [PERCENT]]\n");
        return 2;
    }
    bool isGood = false;
    {
        const BusFolder folder;
        const BusProcess bus(folder.getBus(), BusTraffic::framesPerSecond * static_cast<std::uint32_t>(seconds));
        std::FILE* const output = keepOutputForUs();
        qputenv("QT_QPA_PLATFORM", "offscreen");
        qputenv("KX_CAN_BUS_0", folder.getBus().c_str());
        const QApplication application(argc, argv);
        const KeypadApplication keypad;
        isGood = report(output, run(bus, keypad), keypad, mostPercent);
        std::fclose(output);
    }
    // The bus and its handler stay with the process, as the library has it; no leak checker is to report them.
    std::_Exit(isGood ? 0 : 1);
}
