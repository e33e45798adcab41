#include "tools/kxcan/Playback.h"

#include "recording/format/CANLog.h"
#include "recording/format/Text.h"
#include "tools/canbus/CANSender.h"
#include "tools/kxcan/CommandLine.h"
#include "tools/progress/Progress.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <memory>
#include <thread>
#include <vector>

namespace Can {

namespace {

using Clock = std::chrono::steady_clock;

struct Entry {
    std::chrono::microseconds time{0};
    KX::KXCANMessage frame;
};

/// Reads the frames of a log line by line.
class LogReader {
public:
    explicit LogReader(std::string fileName) : name(std::move(fileName)) {
        if (name != "-")
            file = std::fopen(name.c_str(), "re");
        if (!file)
            fail(std::strerror(errno));
    }

    ~LogReader() {
        if (file && file != stdin)
            std::fclose(file);
    }

    LogReader(const LogReader&) = delete;
    LogReader& operator=(const LogReader&) = delete;

    /// \return false after the last frame
    /// \throws BadInput  also without any frame: a log was lost
    bool read(Entry& entry) {
        try {
            while (readLine()) {
                if (KX::CanBus::isCANLogComment(line))
                    continue;
                const KX::CanBus::CANLogLine parsed = KX::CanBus::parseCANLogLine(line);
                entry = Entry{parsed.time, checkThatItCanBeSent(parsed.frame)};
                hasFrames = true;
                return true;
            }
        } catch (const std::runtime_error& error) {
            throw Arguments::BadInput(name + ":" + std::to_string(lineNumber) + ": " + error.what());
        }
        // EISDIR: a folder, which fopen accepts. EIO: the medium has gone.
        if (std::ferror(file) != 0)
            fail(std::strerror(errno));
        if (!hasFrames)
            fail("there is nothing to play in it");
        return false;
    }

private:
    bool readLine() {
        line.clear();
        ++lineNumber;
        for (int character = getc_unlocked(file); character != EOF; character = getc_unlocked(file)) {
            if (character == '\n')
                return true;
            const char taken = static_cast<char>(character);
            KX::Text::appendToLine(line, {&taken, 1});
        }
        return !line.empty() && std::ferror(file) == 0;
    }

    [[noreturn]] void fail(const std::string& reason) const { throw Arguments::BadInput(name + ": " + reason); }

    const std::string name;
    std::FILE* file = stdin;
    std::string line;
    unsigned long lineNumber = 0;
    bool hasFrames = false;
};

/// Keeps the distances between the frames of the log.
class Schedule {
public:
    explicit Schedule(double speedFactor) : speed(speedFactor) {}

    /// A frame that is late, or older than a previous one, is due at once.
    void waitFor(std::chrono::microseconds time) {
        if (speed == 0)
            return;
        if (!hasStarted) {
            hasStarted = true;
            firstTime = time;
            start = Clock::now();
        }
        const std::chrono::duration<double, std::micro> distance = (time - firstTime) / speed;
        std::this_thread::sleep_until(start + std::chrono::duration_cast<Clock::duration>(distance));
    }

private:
    const double speed;
    bool hasStarted = false;
    std::chrono::microseconds firstTime{0};
    Clock::time_point start;
};

std::vector<Entry> readAll(const std::string& name) {
    LogReader reader(name);
    std::vector<Entry> entries;
    Entry entry;
    while (reader.read(entry))
        entries.push_back(entry);
    return entries;
}

} // namespace

Playback::Playback(std::string fileName, double speed) : name(std::move(fileName)), speedFactor(speed) {}

void Playback::run(const std::string& bus) {
    if (name == "-") {
        KX::CanBus::CANSender sender(bus);
        playStandardInput(sender);
        return;
    }
    const std::vector<Entry> entries = readAll(name);
    KX::CanBus::CANSender sender(bus);
    Schedule schedule(speedFactor);
    Progress::Reporter progress("kxcan", "frames sent", entries.size());
    for (const Entry& entry : entries) {
        schedule.waitFor(entry.time);
        sender.send(entry.frame);
        progress.countOne();
    }
}

void Playback::playStandardInput(KX::CanBus::CANSender& sender) const {
    LogReader reader(name);
    Schedule schedule(speedFactor);
    Progress::Reporter progress("kxcan", "frames sent", 0);
    Entry entry;
    while (reader.read(entry)) {
        schedule.waitFor(entry.time);
        sender.send(entry.frame);
        progress.countOne();
    }
}

} // namespace Can
