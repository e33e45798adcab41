// soak [MINUTES]: the library on the real platform, under full load on every way through it. Ends with status 1 if
// something was lost, doubled or out of order, or if the process holds more at the end than after the first seconds.

#include "events/KXEventQueue.h"
#include "tests/soak/ActionLoad.h"
#include "tests/soak/KeypadLoad.h"
#include "tests/soak/QueueLoad.h"

#include <QApplication>
#include <QTemporaryDir>
#include <QTimer>

#include <charconv>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <malloc.h>
#include <memory>
#include <unistd.h>
#include <vector>

namespace KX::test {
namespace {

constexpr int warmUpMs = 3000;
constexpr int reportMs = 10000;

/// What a process can hold too much of.
struct Holdings {
    long long heapBytes;
    long long descriptors;
    long long threads;
};

long long countEntries(const char* path) {
    DIR* const folder = opendir(path);
    long long count = 0;
    while (folder && readdir(folder))
        ++count;
    if (folder)
        closedir(folder);
    return count;
}

Holdings present() {
    const struct mallinfo2 heap = mallinfo2();
    return {static_cast<long long>(heap.uordblks + heap.hblkhd), countEntries("/proc/self/fd"),
            countEntries("/proc/self/task")};
}

/// All of the loads, and where their report goes.
class Soak {
public:
    Soak(std::FILE* newOutput, const std::string& bus) : output(newOutput) {
        loads.push_back(std::make_unique<QueueLoad>("pipe queue", KXEventQueue::EVENT_QUEUE_AS_PIPE));
        loads.push_back(std::make_unique<QueueLoad>("in-process queue", KXEventQueue::EVENT_QUEUE_AS_QUEUE));
        loads.push_back(std::make_unique<ActionLoad>());
        loads.push_back(std::make_unique<KeypadLoad>(bus));
    }

    bool run(double minutes) {
        for (const auto& load : loads)
            load->start();
        runFor(warmUpMs);
        const Holdings before = present();
        QTimer reporting;
        QObject::connect(&reporting, &QTimer::timeout, [this] { report(); });
        reporting.start(reportMs);
        runFor(static_cast<int>(minutes * 60000));
        const Holdings after = present();
        for (const auto& load : loads)
            load->stop();
        return isAllCounted() & isNothingKept(before, after);
    }

private:
    static void runFor(int ms) {
        QTimer::singleShot(ms, [] { QCoreApplication::quit(); });
        QCoreApplication::exec();
    }

    void report() {
        for (const auto& load : loads)
            std::fprintf(output, "%s %" PRIu64 "%s", load->name.c_str(), load->taken.load(),
                         load == loads.back() ? "\n" : ", ");
        std::fflush(output);
    }

    bool isAllCounted() {
        bool isGood = true;
        for (const auto& load : loads) {
            const bool isComplete = load->given == load->taken && load->wrong == 0 && load->given > 0;
            std::fprintf(output, "%-16s %12" PRIu64 " given, %12" PRIu64 " taken, %" PRIu64 " out of order%s\n",
                         load->name.c_str(), load->given.load(), load->taken.load(), load->wrong.load(),
                         isComplete ? "" : "  FAILED");
            isGood &= isComplete;
        }
        return isGood;
    }

    bool isNothingKept(const Holdings& before, const Holdings& after) {
        const auto isBounded = [this](const char* name, long long first, long long last, long long most) {
            const bool isGood = last - first <= most;
            std::fprintf(output, "%-16s %12lld then,  %12lld now%s\n", name, first, last,
                         isGood ? "" : "  FAILED");
            return isGood;
        };
        // What waits in queues differs from moment to moment.
        return isBounded("heap", before.heapBytes, after.heapBytes, 256 * 1024) &
               isBounded("descriptors", before.descriptors, after.descriptors, 0) &
               isBounded("threads", before.threads, after.threads, 0);
    }

    std::FILE* const output;
    std::vector<std::unique_ptr<Load>> loads;
};

/// Leaves standard output to us: the library prints a line for each step of the encoder.
std::FILE* keepOutputForUs() {
    std::FILE* const output = fdopen(dup(STDOUT_FILENO), "w");
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nowhere, STDOUT_FILENO);
    close(nowhere);
    return output;
}

bool readMinutes(int argc, char** argv, double& minutes) {
    if (argc == 1)
        return true;
    const char* const end = argv[1] + std::strlen(argv[1]);
    const auto [stop, error] = std::from_chars(argv[1], end, minutes);
    return argc == 2 && error == std::errc() && stop == end && minutes > 0 && minutes <= 30 * 24 * 60;
}

} // namespace
} // namespace KX::test

int main(int argc, char** argv) {
    double minutes = 10;
    if (!KX::test::readMinutes(argc, argv, minutes)) {
        std::fprintf(stderr, "usage: soak [MINUTES (up to 43200)]\n");
        return 2;
    }
    std::FILE* const output = KX::test::keepOutputForUs();
    const QTemporaryDir folder("/tmp/kx_soak_XXXXXX");
    const std::string bus = "unix:" + folder.filePath("bus").toStdString();
    qputenv("KX_CAN_BUS_0", bus.c_str());
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    const bool isGood = KX::test::Soak(output, bus).run(minutes);
    std::fprintf(output, isGood ? "nothing was lost, doubled, out of order or kept\n" : "FAILED: see above\n");
    std::fclose(output);
    return isGood ? 0 : 1;
}
