// full_bus [SECONDS [PERCENT [KEYS]]]: a keypad on a full bus, all the way to the classified event. Ends with status 1
// when a frame or an event is lost, or the process takes PERCENT of a processor core or more (5 by default). KEYS of
// the keypad's 16 are in use.

#include "bench/fullbus/BusProcess.h"
#include "bench/fullbus/BusTraffic.h"
#include "bench/fullbus/FrameCount.h"
#include "bench/fullbus/KeypadApplication.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTimer>

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <malloc.h>
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

std::size_t getHeapBytes() {
    const struct mallinfo2 heap = mallinfo2();
    return heap.uordblks + heap.hblkhd;
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

struct Options {
    std::uint32_t seconds = 60;
    double mostPercent = 5;
    std::uint32_t keys = BusTraffic::keyCount;

    bool read(int argc, char** argv) {
        constexpr std::uint32_t anHour = 3600;
        return argc <= 4 && (argc <= 1 || readNumber(argv[1], anHour, seconds)) &&
               (argc <= 2 || readNumber(argv[2], maximumPercent, mostPercent)) &&
               (argc <= 3 || readNumber(argv[3], BusTraffic::keyCount, keys));
    }

private:
    static constexpr double maximumPercent = 100;

    /// All of \p text as a number above 0 and up to \p most; a whole one where \p number is.
    template<class Number>
    static bool readNumber(const char* text, Number most, Number& number) {
        const char* const end = text + std::strlen(text);
        const auto result = std::from_chars(text, end, number);
        return result.ec == std::errc() && result.ptr == end && number > 0 && number <= most;
    }
};

struct Result {
    std::uint32_t sent = 0;
    double seconds = 0;
    double processorSeconds = 0;
    std::size_t heapBytes = 0; // of the whole process, when the last frame was sent
};

bool isComplete(const BusTraffic& traffic, const KeypadApplication& application, std::uint32_t sent) {
    return FrameCount::get() >= sent && application.getKeyEvents() >= traffic.countKeyChanges(sent) &&
           application.getEncoderSteps() >= BusTraffic::countEncoderFrames(sent);
}

/// Runs the main loop until all was sent, and until the last events are there.
Result run(const BusProcess& bus, const BusTraffic& traffic, const KeypadApplication& application) {
    Result result;
    QElapsedTimer clock;
    clock.start();
    const double processorSecondsBefore = getProcessorSeconds();
    QSocketNotifier sent(bus.getReadEndPointID(), QSocketNotifier::Read);
    QObject::connect(&sent, &QSocketNotifier::activated, [&] {
        result.sent = bus.readSent();
        result.seconds = static_cast<double>(clock.nsecsElapsed()) * 1e-9;
        result.processorSeconds = getProcessorSeconds() - processorSecondsBefore;
        result.heapBytes = getHeapBytes();
        QCoreApplication::quit();
    });
    bus.start();
    QCoreApplication::exec();
    sent.setEnabled(false);
    const int longForAnyMachineMs = 10000;
    clock.restart();
    while (!isComplete(traffic, application, result.sent) && clock.elapsed() < longForAnyMachineMs)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    // What came twice would come now.
    QTimer::singleShot(300, [] { QCoreApplication::quit(); });
    QCoreApplication::exec();
    return result;
}

bool report(std::FILE* output, const Result& result, const BusTraffic& traffic,
            const KeypadApplication& application, double mostPercent) {
    const std::uint32_t keys = traffic.countKeyChanges(result.sent);
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
    std::fprintf(output, "heap                 %zu bytes, the toolkit's included\n", result.heapBytes);
    const bool isLossless = result.sent > 0 && FrameCount::get() == result.sent &&
                            FrameCount::getOutOfOrder() == 0 && application.getKeyEvents() == keys &&
                            application.getWrongEvents() == 0 && application.getEncoderSteps() == steps;
    const bool isCheap = percent < mostPercent;
    std::fprintf(output, "%s%s\n", isLossless ? "nothing was lost" : "FAILED: something was lost",
                 isCheap ? "" : "; FAILED: too much processor time");
    return isLossless && isCheap;
}

/// Runs one keypad on one full bus.
bool measure(int argc, char** argv, const Options& options, std::FILE* output) {
    const BusFolder folder;
    const BusTraffic traffic(options.keys);
    const BusProcess bus(folder.getBus(), traffic, BusTraffic::framesPerSecond * options.seconds);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("KX_CAN_BUS_0", folder.getBus().c_str());
    const QApplication application(argc, argv);
    const KeypadApplication keypad(traffic);
    return report(output, run(bus, traffic, keypad), traffic, keypad, options.mostPercent);
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    if (!options.read(argc, argv)) {
        std::fprintf(stderr, "usage: full_bus [SECONDS (1 to 3600) [PERCENT (up to 100) [KEYS (1 to 16)]]]\n");
        return 2;
    }
    std::FILE* const output = keepOutputForUs();
    const bool isGood = measure(argc, argv, options, output);
    std::fclose(output);
    // The bus and its handler stay with the process, as the library has it; no leak checker is to report them.
    std::_Exit(isGood ? 0 : 1);
}
