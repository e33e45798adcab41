// What an hour in the memory of a recorder takes. An hour is long where the code is slow, so only fast builds have it.

#include "tests/recording/RecorderFixture.h"

#include "recording/KXRecordedCalls.h"
#include "recording/recorder/EntryLog.h"

#include <malloc.h>

namespace KX {
namespace {

using Recording::Entry;
using Recording::Session;

constexpr unsigned int msPerHour = 3600 * 1000;
constexpr std::size_t mostBytes = std::size_t{4} << 20;

std::uint64_t durationMs(const Session& session) {
    return session.entries.back().timeMs - session.entries.front().timeMs;
}

// Of what happens after the settings at its head.
std::size_t packedBytes(const Session& session) {
    Recording::EntryLog log;
    for (const Entry& entry : session.entries)
        if (entry.timeMs != session.entries.front().timeMs && !std::holds_alternative<Recording::End>(entry.input))
            log.append(entry);
    return static_cast<std::size_t>(log.end().chunk) * Recording::EntryLog::chunkBytes + log.end().offset;
}

std::size_t bytesOfAnHour(const Session& session) {
    return static_cast<std::size_t>(packedBytes(session) * msPerHour / durationMs(session));
}

Session densestOfTheCorpus() {
    Session densest;
    for (const auto& file : std::filesystem::directory_iterator(KX_RECORDINGS)) {
        if (file.path().extension() != ".kxr")
            continue;
        Session session =
            Recording::readFile(file.path().string(), [](const std::string& warning) { FAIL() << warning; });
        if (densest.entries.empty() || bytesOfAnHour(session) > bytesOfAnHour(densest))
            densest = std::move(session);
    }
    return densest;
}

void play(const Entry& entry) {
    KXInputEventManager& manager = *KXInputEventManager::getInstance();
    std::visit(
        [&manager](const auto& input) {
            using Kind = std::decay_t<decltype(input)>;
            if constexpr (std::is_same_v<Kind, Recording::Frame>)
                KXSimulation::scheduleCANFrame(0, KXTick::getTickCount(), input.message);
            else if constexpr (!std::is_same_v<Kind, Recording::Pass> && !std::is_same_v<Kind, Recording::End>)
                Recording::repeatCall(input, manager);
        },
        entry.input);
    KXSimulation::advance(0); // a frame is read in a pass of its own
    while (manager.hasEvents())
        manager.getNextEvent();
}

// The worker makes the passes itself. An event keeps its distance from the tick.
void playUntil(std::uint64_t endMs, const Session& session) {
    std::uint64_t nowMs = 0;
    for (bool isFirst = true; nowMs < endMs; isFirst = false) {
        const std::uint64_t beginMs = nowMs;
        const std::uint64_t recordedMs = session.entries.front().timeMs;
        for (Entry entry : session.entries) {
            const std::uint64_t timeMs = beginMs + entry.timeMs - recordedMs;
            KXSimulation::advance(static_cast<unsigned int>(timeMs - nowMs));
            nowMs = timeMs;
            if (auto* const event = std::get_if<KXToolkitEvent>(&entry.input))
                event->timeStamp += static_cast<unsigned int>(beginMs - recordedMs);
            if (isFirst || entry.timeMs != recordedMs) // the settings are made once
                play(entry);
        }
    }
}

class KeptHourTest : public test::RecorderFixture {
protected:
    KeptHourTest() { KXInputEventManager::createInstance(); }

    // When the saved recording begins.
    unsigned int savedBegin() {
        EXPECT_TRUE(recorder->save(path)) << recorder->problem();
        std::ifstream file(path);
        for (std::string line; std::getline(file, line);)
            if (line.find(" pass") != std::string::npos)
                return static_cast<unsigned int>(std::stoul(line));
        ADD_FAILURE() << "there is no pass";
        return 0;
    }

    // What the process needs less without the recorder.
    std::size_t takenBytes() {
        const std::size_t with = mallinfo2().uordblks;
        recorder.reset();
        return with - mallinfo2().uordblks;
    }

    std::unique_ptr<KXSessionRecorder> recorder = std::make_unique<KXSessionRecorder>(msPerHour);
};

} // namespace

TEST_F(KeptHourTest, an_hour_of_the_densest_recording_of_the_corpus_fits_into_4_MiB) {
    const Session session = densestOfTheCorpus();
    // The library tells of each key of the keypad, and that no window takes it.
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    playUntil(msPerHour + 60000, session);
    testing::internal::GetCapturedStdout();
    testing::internal::GetCapturedStderr();
    EXPECT_LE(savedBegin(), KXTick::getTickCount() - msPerHour);
    const std::size_t taken = takenBytes();
    EXPECT_LE(taken, mostBytes);
    EXPECT_GT(taken, bytesOfAnHour(session) / 2);
}

TEST_F(KeptHourTest, of_an_hour_that_needs_more_the_oldest_gives_way) {
    for (int minute = 0; minute < 60; ++minute) {
        for (int second = 0; second < 58; ++second) {
            for (int i = 0; i < 200; ++i) {
                i % 2 == 0 ? press() : release();
                KXSimulation::advance(5);
            }
            while (KXInputEventManager::getInstance()->hasEvents())
                KXInputEventManager::getInstance()->getNextEvent();
        }
        KXSimulation::advance(2000); // a rest
    }
    const unsigned int begin = savedBegin();
    EXPECT_GT(begin, KXTick::getTickCount() - msPerHour);
    EXPECT_LT(begin, KXTick::getTickCount() - msPerHour / 2);
    EXPECT_EQ(std::to_string(KXTick::getTickCount()) + " end", linesOf(path).back());
    const std::size_t taken = takenBytes();
    EXPECT_LE(taken, mostBytes);
    EXPECT_GT(taken, mostBytes / 4 * 3);
}

// 256 KiB, even if that is more than the share of an hour.
TEST_F(KeptHourTest, of_a_minute_that_needs_more_the_oldest_gives_way) {
    constexpr unsigned int keptMs = 60000;
    constexpr std::size_t mostBytesOfAMinute = std::size_t{256} << 10;
    recorder.reset();
    recorder = std::make_unique<KXSessionRecorder>(keptMs);
    for (int second = 0; second < 60; ++second) {
        for (int i = 0; i < 1000; ++i) {
            i % 2 == 0 ? press() : release();
            while (KXInputEventManager::getInstance()->hasEvents())
                KXInputEventManager::getInstance()->getNextEvent();
        }
        KXSimulation::advance(1000); // a rest
    }
    const unsigned int begin = savedBegin();
    EXPECT_GT(begin, KXTick::getTickCount() - keptMs);
    EXPECT_LT(begin, KXTick::getTickCount() - keptMs / 4);
    const std::size_t taken = takenBytes();
    EXPECT_LE(taken, mostBytesOfAMinute);
    EXPECT_GT(taken, mostBytesOfAMinute / 4 * 3);
}

TEST_F(KeptHourTest, of_two_idle_hours_only_the_last_minute_takes_memory) {
    recorder.reset();
    recorder = std::make_unique<KXSessionRecorder>(60000);
    KXSimulation::advance(2 * msPerHour);
    EXPECT_LE(savedBegin(), KXTick::getTickCount() - 60000);
    EXPECT_LE(takenBytes(), std::size_t{96} << 10);
}

} // namespace KX
