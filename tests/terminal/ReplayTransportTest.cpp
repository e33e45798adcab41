#include "terminal/session/ReplayTransport.h"

#include "models/RandomRun.h"
#include "recording/KXEventLine.h"
#include "recording/KXRecordedCalls.h"
#include "terminal/look/ScreenButton.h"
#include "terminal/look/Sizes.h"
#include "terminal/session/TransportBar.h"
#include "tests/support/OperatorTest.h"

#include <QSignalSpy>
#include <QTest>

#include <gmock/gmock.h>

#include <memory>
#include <sstream>

using namespace Terminal;

namespace {

using State = ReplayTransport::State;
using testing::ElementsAre;
using testing::HasSubstr;
using Lines = std::vector<std::string>;

constexpr int longestWaitMs = 20000;

// A press, a double press, a long press with its two events, and a turn of the knob. The worker's passes are not
// recorded.
const char* const session = "1000 set double-press 400\n"
                            "1000 toolkit TOOLKIT_KEY_PRESS_EVENT os=0x1000000\n"
                            "1080 toolkit TOOLKIT_KEY_RELEASE_EVENT os=0x1000000\n"
                            "1301 toolkit TOOLKIT_KEY_PRESS_EVENT os=0x1000000\n"
                            "1390 toolkit TOOLKIT_KEY_RELEASE_EVENT os=0x1000000\n"
                            "3000 toolkit TOOLKIT_KEY_PRESS_EVENT os=0x1000010\n"
                            "5300 toolkit TOOLKIT_KEY_RELEASE_EVENT os=0x1000010\n"
                            "6000 toolkit TOOLKIT_KEY_PRESS_EVENT os=0x1000013\n"
                            "6000 toolkit TOOLKIT_KEY_RELEASE_EVENT os=0x1000013\n"
                            "6040 toolkit TOOLKIT_KEY_PRESS_EVENT os=0x1000013\n"
                            "6040 toolkit TOOLKIT_KEY_RELEASE_EVENT os=0x1000013\n"
                            "60000 set low-pass 500\n"
                            "61000 end\n";

/// A replay whose views are a list of events.
class ReplayTransportTest : public KX::test::OperatorTest {
protected:
    std::unique_ptr<ReplayTransport> transportOf(const std::string& lines, double speed = 0.01) {
        std::istringstream input("kxrecording 1\n" + lines);
        recorded = std::make_shared<const KX::Recording::Session>(
            KX::Recording::read(input, "session", [](const std::string& warning) { ADD_FAILURE() << warning; }));
        ReplayTransport::Stage stage;
        stage.renew = [this] {
            TearDown();
            SetUp();
            shown.clear();
        };
        stage.makePlayer = [this, speed] {
            return std::make_unique<SessionPlayer>(
                recorded, speed, *manager,
                [this](const KX::Recording::NumberSetting& setting) {
                    KX::Recording::repeatCall(setting, *manager);
                });
        };
        stage.takeEvents = [this] { take(); };
        auto made = std::make_unique<ReplayTransport>(std::move(stage));
        transport = made.get();
        return made;
    }

    void take() {
        while (manager->hasEvents()) {
            const std::string line(KX::KXEventLine(manager->getNextEvent()).text());
            if (!transport->takeEvent())
                continue;
            shown.push_back(line);
            if (transport->isNew())
                printed.push_back(line);
        }
    }

    // What goes back does so in the next turn of the main loop, and what is asked for meanwhile later.
    static void nextTurn() {
        constexpr int moreThanAreAskedFor = 20;
        for (int turn = 0; turn < moreThanAreAskedFor; ++turn)
            QCoreApplication::processEvents();
    }

    /// The events of a straight play. \p arrivals gets when each came: a long release has the tick of its long press.
    Lines straight(const std::string& lines, std::vector<std::uint64_t>& arrivals) {
        const auto straightTransport = transportOf(lines);
        straightTransport->seekTo(UINT64_MAX);
        const Lines all = shown;
        startAnew();
        const auto steppingTransport = transportOf(lines);
        while (steppingTransport->state() != State::AtEnd) {
            steppingTransport->stepForward();
            arrivals.resize(shown.size(), steppingTransport->positionMs());
        }
        EXPECT_EQ(all, shown);
        startAnew();
        return all;
    }

    void startAnew() {
        TearDown();
        SetUp();
        shown.clear();
        printed.clear();
    }

    static std::vector<unsigned long> ticksOf(const Lines& lines) {
        std::vector<unsigned long> ticks;
        for (const std::string& line : lines)
            ticks.push_back(std::stoul(line));
        return ticks;
    }

    std::shared_ptr<const KX::Recording::Session> recorded;
    ReplayTransport* transport = nullptr;
    Lines shown;
    Lines printed;
};

TEST_F(ReplayTransportTest, steps_by_event_and_pauses) {
    const auto replay = transportOf(session);
    replay->start();
    EXPECT_EQ(State::Playing, replay->state());
    replay->stepForward();
    EXPECT_EQ(State::Paused, replay->state());
    EXPECT_THAT(ticksOf(shown), ElementsAre(1000));
    replay->stepForward();
    replay->stepForward();
    EXPECT_THAT(ticksOf(shown), ElementsAre(1000, 1080, 1301));
    EXPECT_THAT(shown.back(), HasSubstr("KEY_DOUBLE_PRESS_EVENT"));
    EXPECT_EQ(301U, replay->positionMs());
    replay->stepForward();
    replay->stepForward();
    replay->stepForward();
    EXPECT_THAT(ticksOf(shown), ElementsAre(1000, 1080, 1301, 1390, 3000, 5000));
    EXPECT_THAT(shown.back(), HasSubstr("KEY_LONG_PRESS_EVENT"));
    replay->stepForward();
    EXPECT_THAT(ticksOf(shown), ElementsAre(1000, 1080, 1301, 1390, 3000, 5000, 5000, 5300)) << "two of one input";
    EXPECT_EQ(4300U, replay->positionMs());
}

TEST_F(ReplayTransportTest, steps_back_to_the_event_before) {
    const auto replay = transportOf(session);
    for (int i = 0; i < 6; ++i)
        replay->stepForward();
    const Lines before = shown;
    replay->stepForward();
    replay->stepBack();
    nextTurn();
    EXPECT_EQ(before, shown);
    EXPECT_EQ(State::Paused, replay->state());
    for (int i = 0; i < 5; ++i) {
        replay->stepBack();
        nextTurn();
    }
    EXPECT_THAT(ticksOf(shown), ElementsAre(1000));
    replay->stepBack();
    nextTurn();
    EXPECT_THAT(shown, testing::IsEmpty());
    replay->stepBack();
    nextTurn();
    EXPECT_THAT(shown, testing::IsEmpty());
    replay->stepForward();
    EXPECT_THAT(ticksOf(shown), ElementsAre(1000));
}

TEST_F(ReplayTransportTest, what_is_asked_for_while_it_goes_back_counts_from_there) {
    const auto replay = transportOf(session);
    replay->seekTo(2500);
    EXPECT_THAT(ticksOf(shown), ElementsAre(1000, 1080, 1301, 1390, 3000));
    replay->stepBack();
    replay->stepBack();
    replay->stepBack();
    replay->stepForward();
    replay->seekBy(1000);
    nextTurn();
    EXPECT_EQ(1301U, replay->positionMs());
    EXPECT_THAT(ticksOf(shown), ElementsAre(1000, 1080, 1301, 1390));
}

TEST_F(ReplayTransportTest, wherever_it_goes_the_events_are_those_of_a_straight_play) {
    std::vector<std::uint64_t> arrivals;
    const Lines all = straight(session, arrivals);
    ASSERT_GT(all.size(), 8U);
    const auto replay = transportOf(session);
    KX::test::Random random(11);
    for (int round = 0; round < 300; ++round) {
        switch (random.below(6)) {
        case 0: replay->stepForward(); break;
        case 1: replay->stepBack(); break;
        case 2: replay->seekTo(random.below(8000)); break;
        case 3: replay->seekBy(static_cast<int>(random.below(8000)) - 4000); break;
        case 4: replay->togglePause(); break;
        default: replay->seekTo(random.below(70000)); break;
        }
        if (random.oneIn(3))
            continue; // the next one comes in the same turn
        nextTurn();
        ASSERT_LE(shown.size(), all.size());
        ASSERT_TRUE(std::equal(shown.begin(), shown.end(), all.begin())) << "in round " << round;
        // All up to the moment, and nothing later. At one moment a step may stop between two events.
        const std::uint64_t now = replay->positionMs();
        ASSERT_TRUE(shown.empty() || arrivals[shown.size() - 1] <= now) << "in round " << round;
        ASSERT_TRUE(shown.size() == all.size() || arrivals[shown.size()] >= now) << "in round " << round;
    }
    replay->seekTo(UINT64_MAX);
    EXPECT_EQ(all, printed) << "each event is new once";
}

TEST_F(ReplayTransportTest, seeks_to_the_exact_millisecond) {
    const auto replay = transportOf(session);
    replay->seekTo(2000);
    EXPECT_THAT(ticksOf(shown), ElementsAre(1000, 1080, 1301, 1390, 3000));
    replay->seekTo(1999);
    nextTurn();
    EXPECT_THAT(ticksOf(shown), ElementsAre(1000, 1080, 1301, 1390));
    EXPECT_EQ(1999U, replay->positionMs());
    replay->seekTo(2001);
    EXPECT_THAT(ticksOf(shown), ElementsAre(1000, 1080, 1301, 1390, 3000));
}

TEST_F(ReplayTransportTest, at_its_end_it_says_so_and_can_be_left) {
    const auto replay = transportOf(session);
    QSignalSpy finished(replay.get(), &ReplayTransport::finished);
    replay->start();
    replay->seekTo(60000);
    EXPECT_EQ(State::AtEnd, replay->state());
    EXPECT_EQ(1, finished.count());
    EXPECT_EQ(replay->lengthMs(), replay->positionMs());
    const Lines all = shown;
    replay->stepForward();
    replay->seekBy(5000);
    EXPECT_EQ(all, shown);
    EXPECT_EQ(State::AtEnd, replay->state());
    replay->seekBy(-59000);
    nextTurn();
    EXPECT_NE(State::AtEnd, replay->state());
    EXPECT_THAT(ticksOf(shown), ElementsAre(1000, 1080, 1301, 1390));
    replay->seekTo(60000);
    EXPECT_EQ(all, shown);
    replay->togglePause();
    nextTurn();
    EXPECT_EQ(State::Playing, replay->state()) << "from the beginning";
    EXPECT_LT(replay->positionMs(), 1000U);
}

TEST_F(ReplayTransportTest, a_pause_holds_the_time_and_playing_goes_on_from_there) {
    const auto replay = transportOf(session, 10);
    replay->start();
    ASSERT_TRUE(QTest::qWaitFor([this] { return shown.size() >= 2; }, longestWaitMs));
    replay->togglePause();
    const std::uint64_t position = replay->positionMs();
    QTest::qWait(30);
    EXPECT_EQ(position, replay->positionMs());
    EXPECT_EQ(State::Paused, replay->state());
    replay->togglePause();
    EXPECT_EQ(State::Playing, replay->state());
    EXPECT_TRUE(QTest::qWaitFor([this] { return shown.size() >= 4; }, longestWaitMs));
}

TEST_F(ReplayTransportTest, a_part_gives_the_events_of_the_whole_at_that_time) {
    const auto replay = transportOf(session);
    replay->setPart(1301, 5000);
    replay->start();
    EXPECT_THAT(ticksOf(shown), ElementsAre(1301));
    EXPECT_THAT(shown[0], HasSubstr("KEY_DOUBLE_PRESS_EVENT")) << "of a press before the part";
    EXPECT_EQ(3699U, replay->lengthMs());
    replay->seekTo(UINT64_MAX);
    EXPECT_THAT(ticksOf(shown), ElementsAre(1301, 1390, 3000, 5000));
    EXPECT_EQ(State::AtEnd, replay->state());
    replay->seekTo(0);
    nextTurn();
    EXPECT_THAT(ticksOf(shown), ElementsAre(1301));
    EXPECT_EQ(0U, replay->positionMs());
}

TEST_F(ReplayTransportTest, has_keys_that_a_replay_does_not_need) {
    const auto replay = transportOf(session);
    for (const int other : {Qt::Key_Up, Qt::Key_F10, Qt::Key_Tab, Qt::Key_Return, Qt::Key_Home, Qt::Key_Escape})
        EXPECT_FALSE(replay->takeKey(other));
    EXPECT_TRUE(replay->takeKey(Qt::Key_Period));
    EXPECT_THAT(ticksOf(shown), ElementsAre(1000));
    EXPECT_TRUE(replay->takeKey(Qt::Key_Right));
    EXPECT_EQ(5000U, replay->positionMs());
    EXPECT_TRUE(replay->takeKey(Qt::Key_Left));
    nextTurn();
    EXPECT_EQ(0U, replay->positionMs());
    EXPECT_TRUE(replay->takeKey(Qt::Key_Space));
    EXPECT_EQ(State::Playing, replay->state());
    EXPECT_TRUE(replay->takeKey(Qt::Key_Comma));
    nextTurn();
    EXPECT_EQ(State::Paused, replay->state());
}

TEST_F(ReplayTransportTest, the_bar_works_by_touch_and_tells_where_the_replay_is) {
    const auto replay = transportOf(session);
    TransportBar bar(*replay, 4);
    bar.resize(780, bar.sizeHint().height());
    bar.show();
    EXPECT_EQ("Paused", bar.stateText());
    const auto touch = [](QWidget& widget, QPoint at) {
        QTest::mouseClick(&widget, Qt::LeftButton, Qt::NoModifier, at);
        nextTurn();
    };
    touch(bar.pauseButton(), {20, 20});
    EXPECT_EQ(QStringLiteral("Playing \u00D74"), bar.stateText());
    touch(bar.pauseButton(), {20, 20});
    EXPECT_EQ("Paused", bar.stateText());
    EXPECT_THAT(ticksOf(shown), ElementsAre(1000));
    touch(bar.stepButton(), {20, 20});
    EXPECT_THAT(ticksOf(shown), ElementsAre(1000, 1080));
    EXPECT_EQ("0:00.0 of 1:00.0", bar.timeText());
    touch(bar.stepBackButton(), {20, 20});
    EXPECT_THAT(ticksOf(shown), ElementsAre(1000));
    touch(bar.forwardButton(), {20, 20});
    EXPECT_EQ("0:05.0 of 1:00.0", bar.timeText());
    touch(bar.backButton(), {20, 20});
    EXPECT_EQ("0:00.0 of 1:00.0", bar.timeText());
    touch(bar.strip(), {bar.strip().width() - 1, 20});
    EXPECT_EQ("End of the recording", bar.stateText());
    touch(bar.strip(), {bar.strip().width() / 2, 20});
    EXPECT_NEAR(30000, static_cast<double>(replay->positionMs()), 200);
    for (const QWidget* const target :
         {static_cast<QWidget*>(&bar.strip()), static_cast<QWidget*>(&bar.stepButton()),
          static_cast<QWidget*>(&bar.pauseButton())})
        EXPECT_GE(std::min(target->height(), target->width()), Sizes::touchLeast);
}

} // namespace
