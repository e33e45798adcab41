// What a recorder adds to a key press, beside a bare write of the recorded line.
//
// Other work on the machine slows all of them down. So they take short turns, and the quickest turn of each counts. The
// limits are shares of the bare write of the same run, so that they hold on a slower machine, too.

#include "events/KXEventType.h"
#include "input/KXInputEventManager.h"
#include "platform/KXTick.h"
#include "recording/KXSessionRecorder.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int turnsOfRecorder = 12; // and then as many without it
constexpr int pressesInTurn = 200;
constexpr unsigned int keptMs = 10 * 60 * 1000;

// A recorder in memory may take 0.3 us, and one that also writes a file 3 us, on a machine whose bare write takes
// 0.39 us.
constexpr double mostOfWriteInMemory = 0.3 / 0.39;
constexpr double mostOfWriteIntoFile = 3.0 / 0.39;

// A machine that is busy needs longer to have a quiet moment for each.
constexpr std::chrono::milliseconds shortest{1000};
constexpr std::chrono::milliseconds longest{4500};

constexpr std::chrono::seconds generous{5};

struct Nanoseconds {
    double quickest = 1e12;

    void add(double each) { quickest = std::min(quickest, each); }
};

template<class Work>
double nanosecondsEach(Work work) {
    const auto start = Clock::now();
    for (int i = 0; i < pressesInTurn; ++i)
        work(i);
    const std::chrono::duration<double, std::nano> took = Clock::now() - start;
    return took.count() / pressesInTurn;
}

// Two keys in turn: no press is a double press.
void report(int type, int number) {
    KX::KXToolkitEvent event;
    event.eventType = type;
    event.timeStamp = KX::KXTick::getTickCount();
    event.osKeyCode = number % 2 == 0 ? 0x1000000 : 0x1000010; // Escape and Home
    KX::KXInputEventManager::getInstance()->toolkitEventOccurred(event);
}

double press() {
    const double each = nanosecondsEach([](int number) { report(KX::TOOLKIT_KEY_PRESS_EVENT, number); });
    report(KX::TOOLKIT_KEY_RELEASE_EVENT, pressesInTurn - 1); // of the only key that could become a long press
    auto& manager = *KX::KXInputEventManager::getInstance();
    int presses = 0;
    while (manager.hasEvents())
        presses += manager.getNextEvent().eventType == KX::KEY_PRESS_EVENT ? 1 : 0;
    if (presses != pressesInTurn)
        throw std::runtime_error(std::to_string(presses) + " presses came out");
    return each;
}

void require(bool isDone, const std::string& problem) {
    if (!isDone)
        throw std::runtime_error(problem);
}

// The worker's next pass shows the first moment of rest, at which a recording can begin.
void waitForRest(KX::KXSessionRecorder& recorder, const std::string& path) {
    const auto deadline = Clock::now() + generous;
    while (!recorder.save(path)) {
        require(Clock::now() < deadline, recorder.problem());
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

// With its line end.
std::string lastPress(const std::string& path) {
    std::string last;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);)
        if (line.find("TOOLKIT_KEY_PRESS_EVENT") != std::string::npos)
            last = line + "\n";
    return last;
}

double recordedPress(KX::KXSessionRecorder& recorder, const std::string& path, std::string& line) {
    std::filesystem::remove(path);
    require(recorder.start(path), recorder.problem());
    const auto sizeBefore = std::filesystem::file_size(path);
    const double each = press();
    require(recorder.stop(), recorder.problem());
    line = lastPress(path);
    require(!line.empty() && std::filesystem::file_size(path) - sizeBefore > pressesInTurn * line.size(),
            path + " is not whole");
    return each;
}

double bareWrite(const std::string& path, const std::string& line) {
    const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0600);
    require(descriptor >= 0, "there is no " + path);
    std::ptrdiff_t written = 0;
    const double each =
        nanosecondsEach([&](int /*number*/) { written += ::write(descriptor, line.data(), line.size()); });
    close(descriptor);
    require(written == static_cast<std::ptrdiff_t>(pressesInTurn * line.size()), path + " is not whole");
    return each;
}

struct Costs {
    Nanoseconds without, inMemory, intoFile, write;

    void measure(const std::filesystem::path& folder) {
        std::filesystem::remove(folder / "rest.kxr");
        std::string line;
        {
            KX::KXSessionRecorder recorder(keptMs);
            waitForRest(recorder, folder / "rest.kxr");
            for (int turn = 0; turn < turnsOfRecorder; ++turn) {
                intoFile.add(recordedPress(recorder, folder / "day.kxr", line));
                inMemory.add(press());
                write.add(bareWrite(folder / "bare", line));
            }
        }
        for (int turn = 0; turn < turnsOfRecorder; ++turn) {
            without.add(press());
            write.add(bareWrite(folder / "bare", line));
        }
    }

    double ofWrite(const Nanoseconds& press) const { return (press.quickest - without.quickest) / write.quickest; }

    bool areWithinLimits() const {
        return ofWrite(inMemory) <= mostOfWriteInMemory && ofWrite(intoFile) <= mostOfWriteIntoFile;
    }

    void print() const {
        const auto printMore = [this](const char* what, const Nanoseconds& press, double limit) {
            std::printf("%-33s %+6.0f ns %6.2f of a bare write, at most %.2f\n", what,
                        press.quickest - without.quickest, ofWrite(press), limit);
        };
        std::printf("%-33s %6.0f ns\n%-33s %6.0f ns\n", "bare write of its line", write.quickest,
                    "press without a recorder", without.quickest);
        printMore("with one that records in memory", inMemory, mostOfWriteInMemory);
        printMore("with one that also writes a file", intoFile, mostOfWriteIntoFile);
    }
};

// In memory where the system has such a folder: a disk would be measured otherwise.
std::filesystem::path makeFolder() {
    const std::filesystem::path inMemory = "/dev/shm";
    const bool hasIt = access(inMemory.c_str(), W_OK) == 0;
    std::string pattern =
        ((hasIt ? inMemory : std::filesystem::temp_directory_path()) / "kx-cost-XXXXXX").string();
    require(mkdtemp(pattern.data()) != nullptr, "there is no " + pattern);
    return pattern;
}

bool measure(const std::filesystem::path& folder) {
    Costs costs;
    const auto start = Clock::now();
    do {
        costs.measure(folder);
    } while (Clock::now() - start < (costs.areWithinLimits() ? shortest : longest));
    costs.print();
    return costs.areWithinLimits();
}

} // namespace

int main() {
    const std::filesystem::path folder = makeFolder();
    bool isGood = false;
    KX::KXInputEventManager::createInstance();
    try {
        KX::KXInputEventManager::getInstance()->setDoubleKeyPressDuration(1); // so that the next pass is a rest
        isGood = measure(folder);
    } catch (const std::runtime_error& error) {
        std::printf("%s\n", error.what());
    }
    KX::KXInputEventManager::deleteInstance();
    std::filesystem::remove_all(folder);
    return isGood ? 0 : 1;
}
