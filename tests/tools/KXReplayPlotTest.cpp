// What the pictures of kxreplay show.

#include "ReplayTest.h"
#include "tools/kxreplay/plot/Axis.h"
#include "tools/kxreplay/plot/TimeLine.h"

namespace Replay::test {
namespace {

using testing::ElementsAre;

class KXReplayTimeLine : public ReplayTest {
protected:
    TimeLine lineOf(const std::string& lines, std::int64_t from, std::int64_t to) {
        const KX::Recording::Session session = recording(lines);
        TimeLine line(session.entries.front().tick(), from, to);
        for (const PlayedEvent& played : playEvents(session))
            line.take(played);
        return line;
    }
};

const std::string pressOf = " toolkit TOOLKIT_KEY_PRESS_EVENT os=0x1000000\n";
const std::string releaseOf = " toolkit TOOLKIT_KEY_RELEASE_EVENT os=0x1000000\n";
const std::string held = "1000 pass\n1100" + pressOf + "3100 pass\n3200" + releaseOf;

TEST_F(KXReplayTimeLine, HasASpanFromPressToReleaseWithItsLongPress) {
    const TimeLine line = lineOf(held, 0, 5000);
    ASSERT_EQ(1U, line.getLanes().size());
    const TimeLine::Lane& lane = line.getLanes().front();
    EXPECT_EQ("key 0 (Esc)", lane.name);
    ASSERT_EQ(1U, lane.spans.size());
    EXPECT_EQ(100, lane.spans[0].fromMs);
    EXPECT_EQ(2100, lane.spans[0].longFromMs);
    EXPECT_EQ(2200, lane.spans[0].toMs);
    EXPECT_EQ(3U, lane.marks.size()) << "press, long press, release";
}

TEST_F(KXReplayTimeLine, KeepsASpanThatReachesIntoThePicture) {
    const TimeLine line = lineOf(held, 1000, 2000);
    ASSERT_EQ(1U, line.getLanes().size());
    EXPECT_EQ(1U, line.getLanes()[0].spans.size());
    EXPECT_EQ(0U, line.getLanes()[0].marks.size());
}

TEST_F(KXReplayTimeLine, LeavesOutWhatEndedBefore) {
    EXPECT_EQ(1U, lineOf(held, 2200, 5000).getLanes()[0].spans.size());
    EXPECT_EQ(0U, lineOf(held, 2201, 5000).getLanes()[0].spans.size());
}

TEST_F(KXReplayTimeLine, GoesOnWhereTheTickWraps) {
    const TimeLine line =
        lineOf("4294967290 pass\n4294967290" + pressOf + "4" + releaseOf, 0, 1000); // 10 ms, across the wrap
    ASSERT_EQ(1U, line.getLanes()[0].spans.size());
    EXPECT_EQ(10, line.getLanes()[0].spans[0].toMs);
}

TEST_F(KXReplayTimeLine, HasTheMovesOfTheEncoder) {
    const TimeLine line = lineOf("1000 pass\n1100 toolkit TOOLKIT_WHEEL_EVENT key=5 count=2\n", 0, 1000);
    ASSERT_EQ(1U, line.getMoves().size());
    EXPECT_EQ(100, line.getMoves()[0].ms);
    EXPECT_EQ(2, line.getMoves()[0].steps);
    EXPECT_TRUE(line.getMoves()[0].isDown);
}

TEST(KXReplayTimeAxis, HasRoundMarksInItsRange) {
    const TimeAxis axis(0, 1000, 0, 800);
    EXPECT_THAT(axis.marks(), ElementsAre(0, 100, 200, 300, 400, 500, 600, 700, 800, 900, 1000));
    EXPECT_EQ("0.3 s", axis.nameOf(300));
    EXPECT_DOUBLE_EQ(240, axis.pixelOf(300));
}

TEST(KXReplayTimeAxis, NamesTimesInTheUnitOfItsLength) {
    EXPECT_EQ("0.25 s", TimeAxis(200, 400, 0, 800).nameOf(250));
    EXPECT_EQ("20 s", TimeAxis(0, 60000, 0, 800).nameOf(20000));
    EXPECT_EQ("2:30", TimeAxis(0, 600000, 0, 800).nameOf(150000));
    EXPECT_EQ("1:02:00", TimeAxis(0, 7200000, 0, 800).nameOf(3720000));
}

} // namespace
} // namespace Replay::test
