// What --statistics counts, and the text of its counts.

#include "ReplayTest.h"
#include "tools/arguments/BadInput.h"
#include "tools/kxreplay/statistics/Bins.h"
#include "tools/kxreplay/statistics/CountLines.h"
#include "tools/kxreplay/statistics/GestureCounter.h"
#include "tools/kxreplay/statistics/Grid.h"
#include "tools/kxreplay/statistics/StatisticsText.h"
#include "tools/kxreplay/statistics/SurveyMessage.h"

#include <map>
#include <random>
#include <tuple>

namespace Replay::test {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

constexpr int keyDevice = 1;
constexpr int isDouble = 0;
constexpr int isLong = 1;
constexpr int pressGesture = 1;
constexpr int doublePressGesture = 2;
constexpr int longPressGesture = 3;

class KXReplayStatistics : public ReplayTest {
protected:
    Counts countsOf(const std::string& lines) {
        Counts counts;
        GestureCounter counter(counts);
        for (const PlayedEvent& played : playEvents(recording(lines)))
            counter.take(played);
        return counts;
    }

    static std::string press(unsigned int ms, int key = 0) { return line(ms, "PRESS", key); }
    static std::string release(unsigned int ms, int key = 0) { return line(ms, "RELEASE", key); }

private:
    // Escape and Tab have the codes 0 and 2 in every manager.
    static std::string line(unsigned int ms, const char* what, int key) {
        return std::to_string(ms) + " toolkit TOOLKIT_KEY_" + what + "_EVENT os=0x100000" + std::to_string(key) +
               "\n";
    }
};

TEST_F(KXReplayStatistics, CountsGesturesOfEachKey) {
    const Counts counts = countsOf("1000 pass\n" + press(1000) + release(1050) + press(1200) + release(1250) +
                                   press(2000, 1) + "4000 pass\n" + release(4100, 1));
    EXPECT_EQ(1U, counts.of(Counted::Gestures, {keyDevice, 0, 0x1000000, pressGesture}));
    EXPECT_EQ(1U, counts.of(Counted::Gestures, {keyDevice, 0, 0x1000000, doublePressGesture}));
    EXPECT_EQ(1U, counts.of(Counted::Gestures, {keyDevice, 2, 0x1000001, longPressGesture}));
    EXPECT_EQ(0U, counts.of(Counted::Gestures, {keyDevice, 0, 0x1000000, longPressGesture}));
}

TEST_F(KXReplayStatistics, SortsGapsIntoBins) {
    for (const auto& [gap, bin] : std::map<unsigned int, int>{
             {24, 0}, {25, 25}, {26, 25}, {999, 975}, {1000, 1000}, {1001, 1000}, {90000, 1000}}) {
        const Counts counts = countsOf("1000 pass\n" + press(1000) + press(1000 + gap));
        EXPECT_EQ(1U, counts.of(Counted::Gaps, {bin})) << gap;
    }
}

TEST_F(KXReplayStatistics, HasNoGapBetweenPressesOfTwoKeys) {
    const Counts counts = countsOf("1000 pass\n" + press(1000) + press(1100, 1) + press(1200));
    counts.forEach(
        Counted::Gaps, [](const auto&, std::uint64_t) { ADD_FAILURE(); });
    counts.forEach(Counted::CloseCalls, [](const auto&, std::uint64_t) { ADD_FAILURE(); });
}

TEST_F(KXReplayStatistics, SaysHowNearASecondPressIsToItsLimit) {
    const std::map<unsigned int, std::array<int, 2>> expected = {
        {249, {1, -1}}, {250, {1, 26}}, {275, {1, 11}}, {289, {1, 11}}, {290, {1, 6}},  {294, {1, 6}},
        {295, {1, 0}},  {300, {1, 0}},  {301, {0, 0}},  {305, {0, 0}},  {306, {0, 6}},  {310, {0, 6}},
        {311, {0, 11}}, {325, {0, 11}}, {326, {0, 26}}, {350, {0, 26}}, {351, {0, -1}},
    };
    for (const auto& [gap, call] : expected) {
        const Counts counts = countsOf("1000 pass\n" + press(1000) + press(1000 + gap));
        std::vector<std::array<int, 4>> found;
        counts.forEach(Counted::CloseCalls, [&](const auto& numbers, std::uint64_t) { found.push_back(numbers); });
        if (call[1] == -1)
            EXPECT_TRUE(found.empty()) << gap;
        else
            EXPECT_THAT(found, ElementsAre(std::array<int, 4>{isDouble, call[0], call[1], 0})) << gap;
    }
}

TEST_F(KXReplayStatistics, SaysHowNearAReleaseIsToItsLimit) {
    for (const auto& [held, isReached, bin] : std::vector<std::tuple<unsigned int, int, int>>{{1949, 0, -1},
                                                                                              {1950, 0, 26},
                                                                                              {1999, 0, 0},
                                                                                              {2000, 1, 0},
                                                                                              {2001, 1, 0},
                                                                                              {2006, 1, 6},
                                                                                              {2051, 1, -1}}) {
        const std::string pass = held < 2000 ? "" : "3000 pass\n";
        const Counts counts = countsOf("1000 pass\n" + press(1000) + pass + release(1000 + held));
        std::vector<std::array<int, 4>> found;
        counts.forEach(Counted::CloseCalls, [&](const auto& numbers, std::uint64_t) { found.push_back(numbers); });
        if (bin == -1)
            EXPECT_TRUE(found.empty()) << held;
        else
            EXPECT_THAT(found, ElementsAre(std::array<int, 4>{isLong, isReached, bin, 0})) << held;
    }
}

TEST_F(KXReplayStatistics, UsesTheLimitOfThatMoment) {
    const Counts counts = countsOf("1000 set double-press 100\n1000 pass\n" + press(1000) + press(1101) +
                                   "1200 set double-press 300\n" + press(2000) + press(2300));
    EXPECT_EQ(1U, counts.of(Counted::CloseCalls, {isDouble, 0, 0}));
    EXPECT_EQ(1U, counts.of(Counted::CloseCalls, {isDouble, 1, 0}));
}

TEST_F(KXReplayStatistics, CountsStepsOfTheEncoderByTheirSpeed) {
    const std::string wheel = " toolkit TOOLKIT_WHEEL_EVENT key=4 count=";
    const Counts counts = countsOf("1000 pass\n1000" + wheel + "1\n1011" + wheel + "1\n1051" + wheel + "2\n");
    EXPECT_EQ(4U, counts.of(Counted::Steps, {4}));
    EXPECT_EQ(1U, counts.of(Counted::StepTimes, {8})) << "a step in 11 ms";
    EXPECT_EQ(2U, counts.of(Counted::StepTimes, {20})) << "two steps in 40 ms";
}

/// Adds up what a random operator does, from the plan and not from events.
struct Plan {
    std::string lines = "1000 pass\n";
    std::map<int, std::uint64_t> gaps;
    std::map<int, std::uint64_t> holds;
    std::map<int, std::uint64_t> nearDoubles; // by distance, negative when in time
    std::uint64_t doubles = 0;
    std::uint64_t longs = 0;

    explicit Plan(std::uint32_t seed) {
        std::mt19937 random(seed);
        const auto below = [&random](unsigned int end) { return static_cast<unsigned int>(random() % end); };
        unsigned int now = 1000;
        unsigned int nextPass = 1100;
        unsigned int lastPress = 0;
        int lastKey = -1;
        for (int count = 0; count < 300; ++count) {
            const int key = static_cast<int>(below(2));
            const unsigned int begin = now + 20 + (below(3) == 0 ? below(3000) : below(500));
            const unsigned int held = below(4) == 0 ? 1900 + below(400) : 1 + below(200);
            addPassesUntil(nextPass, begin);
            addKey(begin, "PRESS", key);
            // A pass at the tick of the release stands before it.
            addPassesUntil(nextPass, begin + held);
            addKey(begin + held, "RELEASE", key);
            longs += (nextPass - 100 >= begin + 2000) ? 1 : 0;
            ++holds[static_cast<int>(std::min(held / 100 * 100, 3000U))];
            if (key == lastKey)
                addGap(begin - lastPress);
            lastKey = key;
            lastPress = begin;
            now = begin + held;
        }
    }

private:
    void addPassesUntil(unsigned int& nextPass, unsigned int ms) {
        for (; nextPass <= ms; nextPass += 100)
            lines += std::to_string(nextPass) + " pass\n";
    }

    void addKey(unsigned int ms, const char* what, int key) {
        lines += std::to_string(ms) + " toolkit TOOLKIT_KEY_" + what + "_EVENT os=0x100000" + std::to_string(key) +
                 "\n";
    }

    void addGap(unsigned int gap) {
        ++gaps[static_cast<int>(std::min(gap / 25 * 25, 1000U))];
        doubles += gap <= 300 ? 1 : 0;
        const int distance = static_cast<int>(gap) - 300;
        if (std::abs(distance) <= 50)
            ++nearDoubles[distance > 0 ? 1 : -1];
    }
};

std::uint64_t sumOf(const Counts& counts, Counted kind, std::size_t place, int number) {
    std::uint64_t sum = 0;
    counts.forEach(kind, [&](const std::array<int, 4>& numbers, std::uint64_t count) {
        sum += numbers[place] == number ? count : 0;
    });
    return sum;
}

TEST_F(KXReplayStatistics, AgreesWithTheSumsOfARandomPlan) {
    for (std::uint32_t seed = 1; seed <= 20; ++seed) {
        const Plan plan(seed);
        const Counts counts = countsOf(plan.lines);
        for (const int bin : binsOf(Counted::Gaps))
            EXPECT_EQ(plan.gaps.count(bin) != 0 ? plan.gaps.at(bin) : 0, counts.of(Counted::Gaps, {bin}))
                << "seed " << seed << ", gap " << bin;
        for (const int bin : binsOf(Counted::Holds))
            EXPECT_EQ(plan.holds.count(bin) != 0 ? plan.holds.at(bin) : 0, counts.of(Counted::Holds, {bin}))
                << "seed " << seed << ", hold " << bin;
        EXPECT_EQ(plan.doubles, sumOf(counts, Counted::Gestures, 3, doublePressGesture)) << seed;
        EXPECT_EQ(plan.longs, sumOf(counts, Counted::Gestures, 3, longPressGesture)) << seed;
        std::uint64_t inTime = 0;
        std::uint64_t tooLate = 0;
        counts.forEach(Counted::CloseCalls, [&](const std::array<int, 4>& numbers, std::uint64_t count) {
            if (numbers[0] == isDouble)
                (numbers[1] == 1 ? inTime : tooLate) += count;
        });
        EXPECT_EQ(plan.nearDoubles.count(-1) != 0 ? plan.nearDoubles.at(-1) : 0, inTime) << seed;
        EXPECT_EQ(plan.nearDoubles.count(1) != 0 ? plan.nearDoubles.at(1) : 0, tooLate) << seed;
    }
}

TEST_F(KXReplayStatistics, GivesTheSameCountsFromItsLines) {
    const Counts counts = countsOf(Plan(7).lines);
    std::istringstream lines(toLines(counts));
    Counts read;
    addLines(lines, "a.json", read);
    EXPECT_EQ(toLines(counts), toLines(read));
    EXPECT_NE("", toLines(read));
}

TEST_F(KXReplayStatistics, AddsUpLines) {
    const std::string text = "{\"is\":\"hold\",\"fromMs\":100,\"count\":3}\n";
    std::istringstream input(text + "\n" + text);
    Counts counts;
    addLines(input, "a.json", counts);
    EXPECT_EQ(6U, counts.of(Counted::Holds, {100}));
}

TEST(KXReplayCountLines, RefusesWhatItHasNotWritten) {
    for (const char* const bad :
         {"hello", "{}", "{\"is\":\"tea\",\"count\":1}", "{\"is\":\"hold\",\"count\":1}",
          "{\"is\":\"hold\",\"fromMs\":\"a\",\"count\":1}", "{\"is\":\"hold\",\"fromMs\":1.5,\"count\":1}",
          "{\"is\":\"hold\",\"fromMs\":100}", "{\"is\":\"hold\",\"fromMs\":100,\"count\":-1}",
          "{\"is\":\"close call\",\"limit\":\"triple\",\"reached\":\"yes\",\"fromMs\":0,\"count\":1}"}) {
        std::istringstream input("{\"is\":\"hold\",\"fromMs\":100,\"count\":3}\n" + std::string(bad) + "\n");
        Counts counts;
        try {
            addLines(input, "a.json", counts);
            ADD_FAILURE() << bad;
        } catch (const Arguments::BadInput& error) {
            EXPECT_EQ(0U, std::string(error.what()).find("a.json:2: ")) << error.what();
        }
    }
}

TEST(KXReplayGrid, HasTheValuesOfARange) {
    EXPECT_THAT(Grid::parse("double-press=200..300:50").valuesMs, ElementsAre(200, 250, 300));
    EXPECT_THAT(Grid::parse("double-press=200..299:50").valuesMs, ElementsAre(200, 250));
    EXPECT_THAT(Grid::parse("long-press=1500").valuesMs, ElementsAre(1500));
    EXPECT_EQ(Limit::LongPress, Grid::parse("long-press=1500").limit);
    EXPECT_EQ(200U, Grid::parse("double-press=1..200:1").valuesMs.size());
}

TEST(KXReplayGrid, RefusesWhatIsNone) {
    for (const char* const bad : {"", "double-press", "double-press=", "double-press=a", "double-press=1..2",
                                  "double-press=3..2:1", "double-press=1..2:0", "user-factor=1..2:1",
                                  "double-press=1..201:1", "double-press=4294967295", "double-press=-1..5:1"})
        EXPECT_THROW(Grid::parse(bad), Arguments::BadInput) << bad;
}

TEST(KXReplaySurveyMessage, ComesInAnyPieces) {
    SurveyMessage message;
    message.index = 7;
    message.problem = "a.kxr: no";
    message.counts.add(Counted::Holds, {100}, 3);
    const std::string bytes = message.toBytes() + message.toBytes();
    std::string received;
    int count = 0;
    for (const char byte : bytes) {
        received += byte;
        while (const auto taken = SurveyMessage::takeFrom(received)) {
            ++count;
            EXPECT_EQ(7U, taken->index);
            EXPECT_EQ("a.kxr: no", taken->problem);
            EXPECT_EQ(3U, taken->counts.of(Counted::Holds, {100}));
        }
    }
    EXPECT_EQ(2, count);
    EXPECT_EQ("", received);
}

TEST_F(KXReplayStatistics, ExplainsAnEscapeWhereThereIsOne) {
    const std::string explanation = "  escape: the mouse button was let go outside\n";
    const std::string down =
        "1000 pass\n1010 toolkit TOOLKIT_MOUSE_PRESS_EVENT data=0,1,0,0\n1020 toolkit TOOLKIT_MOUSE_";
    EXPECT_THAT(toText(countsOf(down + "ESCAPE_EVENT data=0,1,0,0\n")), HasSubstr(explanation));
    EXPECT_THAT(toText(countsOf(down + "RELEASE_EVENT data=0,1,0,0\n")), Not(HasSubstr(explanation)));
}

TEST_F(KXReplayStatistics, FitsAPageOf100Columns) {
    Counts counts = countsOf(Plan(3).lines);
    for (int times = 0; times < 20; ++times) {
        const Counts same = counts;
        counts.add(same);
    }
    counts.add(Counted::GridRecordings, {isDouble, 250}, 12345678);
    counts.add(Counted::GridDoubles, {isDouble, 250}, 123456789);
    counts.add(Counted::GridImpossible, {isDouble, 250}, 1234567);
    std::istringstream text(toText(counts));
    for (std::string line; std::getline(text, line);)
        EXPECT_LE(line.size(), 100U) << line;
}

} // namespace
} // namespace Replay::test
