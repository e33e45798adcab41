// full_bus [SECONDS [PERCENT [KEYS]]]: a keypad on a full bus, all the way to the classified event. Ends with status 1
// when a frame or an event is lost, or the process takes PERCENT of a processor core or more (5 by default). KEYS of
// the keypad's 16 are in use.

#include "bench/fullbus/KeypadApplication.h"
#include "bench/support/Heap.h"
#include "input/KXInputObserver.h"
#include "tools/canbus/CANSender.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTimer>

#include <atomic>
#include <charconv>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace Bench {
namespace {

/// Counts the frames that the library takes from its bus, on the thread that reads the bus. One is out of order when
/// its number does not follow that of its predecessor.
struct FrameCount : KX::KXInputObserver {
    FrameCount() { KX::KXInputEventManager::setObserver(this); }
    ~FrameCount() override { KX::KXInputEventManager::setObserver(nullptr); }

    void onFrame(const KX::KXCANMessage& frame) override {
        if (BusTraffic::getNumber(frame.canData) != taken++)
            ++outOfOrder;
    }

    std::atomic<std::uint32_t> taken{0};
    std::atomic<std::uint32_t> outOfOrder{0};
};

/// Sends the frames one by one as on a bus: the reader has to wake up for each.
/// \return how many; 0 when it failed, which it has said on standard error
std::uint32_t sendAll(const std::string& bus, const BusTraffic& traffic, std::uint32_t frames) {
    std::uint32_t sent = 0;
    try {
        KX::CanBus::CANSender sender(bus);
        const auto start = std::chrono::steady_clock::now();
        for (; sent < frames; ++sent) {
            std::this_thread::sleep_until(
                start + std::chrono::nanoseconds(1000000000LL * sent / BusTraffic::framesPerSecond));
            sender.send(traffic.makeFrame(sent));
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "full_bus: after %u frames: %s\n", sent, error.what());
        return 0;
    }
    return sent;
}

/// Forks the bus, a process of its own, so that its processor time is not ours. To be called before the first thread.
/// \return a socket: a byte written to it lets the bus send, and it becomes readable with the number of frames sent
int forkBus(const std::string& bus, const BusTraffic& traffic, std::uint32_t frames) {
    int ends[2] = {-1, -1};
    const bool isOpen = socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) == 0;
    const pid_t process = isOpen ? fork() : -1;
    if (process < 0) {
        std::perror("full_bus");
        std::exit(1);
    }
    close(process == 0 ? ends[0] : ends[1]);
    if (process != 0)
        return ends[0];
    prctl(PR_SET_PDEATHSIG, SIGKILL); // when the reader is ended
    char go = 0;
    if (read(ends[1], &go, 1) != 1)
        _exit(1);
    const std::uint32_t sent = sendAll(bus, traffic, frames);
    _exit(write(ends[1], &sent, sizeof sent) == sizeof sent ? 0 : 1);
}

/// Sends what is printed by the library where it costs a system call a line, as on a terminal, and nothing else.
std::FILE* keepOutputForUs() {
    std::FILE* const output = fdopen(dup(STDOUT_FILENO), "w");
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nowhere, STDOUT_FILENO);
    close(nowhere);
    return output;
}

/// All of \p text as a number above 0 and up to \p most; a whole one where \p number is.
template<class Number>
bool readNumber(const char* text, Number most, Number& number) {
    const char* const end = text + std::strlen(text);
    const auto result = std::from_chars(text, end, number);
    return result.ec == std::errc() && result.ptr == end && number > 0 && number <= most;
}

struct Options {
    std::uint32_t seconds = 60;
    double mostPercent = 5;
    std::uint32_t keys = BusTraffic::keyCount;

    bool read(int argc, char** argv) {
        return argc <= 4 && (argc <= 1 || readNumber(argv[1], 3600U, seconds)) &&
               (argc <= 2 || readNumber(argv[2], 100.0, mostPercent)) &&
               (argc <= 3 || readNumber(argv[3], BusTraffic::keyCount, keys));
    }
};

struct Result {
    std::uint32_t sent = 0;
    double seconds = 0;
    double processorSeconds = 0;
    std::size_t heapBytes = 0; // of the whole process, when the last frame was sent
};

/// Runs the main loop until all was sent, and until the last events are there.
Result run(int bus, const BusTraffic& traffic, const KeypadApplication& application, const FrameCount& frames) {
    Result result;
    QElapsedTimer clock;
    clock.start();
    const std::clock_t processorTimeBefore = std::clock();
    QSocketNotifier sent(bus, QSocketNotifier::Read);
    QObject::connect(&sent, &QSocketNotifier::activated, [&] {
        static_cast<void>(!read(bus, &result.sent, sizeof result.sent)); // 0 when the bus has ended
        result.seconds = static_cast<double>(clock.nsecsElapsed()) * 1e-9;
        result.processorSeconds = static_cast<double>(std::clock() - processorTimeBefore) / CLOCKS_PER_SEC;
        result.heapBytes = getHeapBytes();
        QCoreApplication::quit();
    });
    if (write(bus, "", 1) != 1)
        std::perror("full_bus");
    QCoreApplication::exec();
    sent.setEnabled(false);
    const auto isComplete = [&] {
        return frames.taken >= result.sent &&
               application.taken.keyEvents >= traffic.countKeyChanges(result.sent) &&
               application.taken.encoderSteps >= BusTraffic::countEncoderFrames(result.sent);
    };
    const int longForAnyMachineMs = 10000;
    clock.restart();
    while (!isComplete() && clock.elapsed() < longForAnyMachineMs)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    // What came twice would come now.
    QTimer::singleShot(300, [] { QCoreApplication::quit(); });
    QCoreApplication::exec();
    return result;
}

bool report(std::FILE* output, const Result& result, const BusTraffic& traffic, const Taken& taken,
            const FrameCount& counted, double mostPercent) {
    const std::uint32_t keys = traffic.countKeyChanges(result.sent);
    const std::uint32_t steps = BusTraffic::countEncoderFrames(result.sent);
    const std::uint32_t frames = counted.taken;
    const std::uint32_t outOfOrder = counted.outOfOrder;
    const double percent = 100 * result.processorSeconds / result.seconds;
    std::fprintf(output,
                 "frames sent          %u in %.2f s, %.0f a second\n"
                 "frames read          %u, %u out of order\n"
                 "key events           %u of %u, %u of them not as expected\n"
                 "encoder steps        %u of %u, in %u events\n"
                 "processor time       %.2f s, %.2f %% of one core (below %.1f %% wanted)\n"
                 "heap                 %zu bytes, the toolkit's included\n",
                 result.sent, result.seconds, result.sent / result.seconds, frames, outOfOrder, taken.keyEvents,
                 keys, taken.wrongKeyEvents, taken.encoderSteps, steps, taken.encoderEvents,
                 result.processorSeconds, percent, mostPercent, result.heapBytes);
    const bool isLossless = result.sent > 0 && frames == result.sent && outOfOrder == 0 &&
                            taken.keyEvents == keys && taken.wrongKeyEvents == 0 && taken.encoderSteps == steps;
    const bool isCheap = percent < mostPercent;
    std::fprintf(output, "%s%s\n", isLossless ? "nothing was lost" : "FAILED: something was lost",
                 isCheap ? "" : "; FAILED: too much processor time");
    return isLossless && isCheap;
}

/// Runs one keypad on one full bus.
bool measure(int argc, char** argv, const Options& options, std::FILE* output) {
    const QTemporaryDir folder("/tmp/kx_fullbus_XXXXXX");
    const std::string bus = "unix:" + folder.filePath("bus").toStdString();
    const BusTraffic traffic(options.keys);
    const int process = forkBus(bus, traffic, BusTraffic::framesPerSecond * options.seconds);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("KX_CAN_BUS_0", bus.c_str());
    const QApplication application(argc, argv);
    const FrameCount frames;
    const KeypadApplication keypad(traffic);
    const Result result = run(process, traffic, keypad, frames);
    return report(output, result, traffic, keypad.taken, frames, options.mostPercent);
}

} // namespace
} // namespace Bench

int main(int argc, char** argv) {
    Bench::Options options;
    if (!options.read(argc, argv)) {
        std::fprintf(stderr, "usage: full_bus [SECONDS (1 to 3600) [PERCENT (up to 100) [KEYS (1 to 16)]]]\n");
        return 2;
    }
    std::FILE* const output = Bench::keepOutputForUs();
    const bool isGood = Bench::measure(argc, argv, options, output);
    std::fclose(output);
    // The bus and its handler stay with the process, as the library has it; no leak checker is to report them.
    std::_Exit(isGood ? 0 : 1);
}
