#include "terminal/session/SessionPlayer.h"

#include "recording/KXEventLine.h"
#include "recording/KXRecordedCalls.h"
#include "tests/support/OperatorTest.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QSignalSpy>
#include <QTest>

#include <gmock/gmock.h>

#include <future>
#include <memory>
#include <sstream>

using namespace Terminal;

namespace {

using KX::Recording::Session;
using testing::ElementsAre;
using testing::IsEmpty;
using Lines = std::vector<std::string>;

constexpr int longestPlayMs = 60000;

Session sessionOf(const std::string& lines) {
    std::istringstream input("kxrecording 1\n" + lines);
    return KX::Recording::read(input, "session", [](const std::string& warning) { ADD_FAILURE() << warning; });
}

// A line whose tick is relative to a base, so that the same session can also cross the wrap.
std::string at(unsigned int tick, const std::string& what) {
    return std::to_string(tick) + " " + what + "\n";
}

// Presses, a double press, a long press, encoder steps and settings, with the passes of a worker that is sometimes
// late.
std::string busyLines(unsigned int start) {
    const std::string press = "toolkit TOOLKIT_KEY_PRESS_EVENT os=0x1000000";
    const std::string release = "toolkit TOOLKIT_KEY_RELEASE_EVENT os=0x1000000";
    const std::string up = "toolkit TOOLKIT_KEY_PRESS_EVENT os=0x1000013";
    const std::string down = "toolkit TOOLKIT_KEY_PRESS_EVENT os=0x1000015";
    std::string lines = at(start, "set double-press 100") + at(start, "set long-press 300") +
                        at(start, "set user-factor 500") + at(start, "set speed-table 5:4000 50:300 100:40") +
                        at(start, "set key-mapping 0x1000030=7");
    lines += at(start, press) + at(start + 40, release) + at(start + 90, press) + at(start + 100, "pass");
    lines += at(start + 391, "pass") + at(start + 400, release);
    for (unsigned int step = 0; step < 20; ++step) {
        lines += at(start + 410 + 7 * step, up) +
                 at(start + 412 + 7 * step, "toolkit TOOLKIT_KEY_RELEASE_EVENT os=0x1000013");
        if (step % 9 == 8)
            lines += at(start + 413 + 7 * step, "pass");
    }
    lines += at(start + 560, down) + at(start + 600, "pass") + at(start + 640, "pass");
    lines +=
        at(start + 650, "toolkit TOOLKIT_KEY_PRESS_EVENT os=0x1000030") + at(start + 700, "set accept-input off");
    lines +=
        at(start + 701, "toolkit TOOLKIT_MOUSE_PRESS_EVENT data=0,1,0,0") + at(start + 720, "set accept-input on");
    lines += at(start + 730, "toolkit TOOLKIT_MOUSE_PRESS_EVENT data=0,1,0,0") + at(start + 1031, "pass");
    return lines + at(start + 1040, "toolkit TOOLKIT_MOUSE_RELEASE_EVENT data=0,1,0,0") + at(start + 1100, "end");
}

class SessionPlayerTest : public KX::test::OperatorTest {
protected:
    std::unique_ptr<SessionPlayer> playerOf(const Session& session, double speed) {
        return std::make_unique<SessionPlayer>(
            session, speed, *manager,
            [this](const KX::Recording::NumberSetting& setting) {
                settings.push_back(setting);
                KX::Recording::repeatCall(setting, *manager);
            });
    }

    // The events that the library posts during the play.
    Lines play(const Session& session, double speed = 1000) {
        const std::unique_ptr<SessionPlayer> player = playerOf(session, speed);
        QSignalSpy finished(player.get(), &SessionPlayer::finished);
        player->start();
        EXPECT_TRUE(finished.count() > 0 || finished.wait(longestPlayMs)) << "the session does not end";
        EXPECT_EQ(player->inputCount(), player->playedInputs());
        return takePosted();
    }

    Lines takePosted() {
        Lines posted;
        while (manager->hasEvents())
            posted.emplace_back(KX::KXEventLine(manager->getNextEvent()).text());
        return posted;
    }

    // Makes the calls that the player should make, directly and with a separate manager.
    Lines driveDirectly(const Session& session) {
        TearDown();
        SetUp();
        for (const KX::Recording::Entry& entry : session.entries)
            std::visit([&](const auto& input) { apply(input, entry.tick()); }, entry.input);
        Lines posted = takePosted();
        TearDown();
        SetUp();
        return posted;
    }

    std::vector<KX::Recording::NumberSetting> settings;

private:
    template<typename Call>
    void apply(const Call& call, unsigned int /*tick*/) {
        KX::Recording::repeatCall(call, *manager);
    }
    void apply(const KX::Recording::Pass& /*pass*/, unsigned int tick) {
        manager->sendLongPressEvent(tick);
        manager->sendEncoderMoveEvent(tick);
    }
    void apply(const KX::Recording::End& /*end*/, unsigned int /*tick*/) {}
    void apply(const KX::Recording::Frame& /*frame*/, unsigned int /*tick*/) {}
};

} // namespace

TEST_F(SessionPlayerTest, PostsWhatTheRecordedInputsCallFor) {
    EXPECT_THAT(play(sessionOf("1000 toolkit TOOLKIT_KEY_PRESS_EVENT os=0x1000000\n"
                               "1080 toolkit TOOLKIT_KEY_RELEASE_EVENT os=0x1000000\n"
                               "1200 toolkit TOOLKIT_KEY_PRESS_EVENT os=0x1000000\n"
                               "3199 pass\n3205 pass\n"
                               "3300 toolkit TOOLKIT_KEY_RELEASE_EVENT os=0x1000000\n")),
                ElementsAre("1000 KEY_PRESS_EVENT class=3 key=0 os=0x1000000 value=0 count=-1 data=0,0,0,0",
                            "1080 KEY_RELEASE_EVENT class=3 key=0 os=0x1000000 value=0 count=-1 data=0,0,0,0",
                            "1200 KEY_DOUBLE_PRESS_EVENT class=3 key=0 os=0x1000000 value=0 count=-1 data=0,0,0,0",
                            "3205 KEY_LONG_PRESS_EVENT class=3 key=0 os=0x1000000 value=0 count=-1 data=0,0,0,0",
                            "3205 KEY_LONG_RELEASE_EVENT class=3 key=0 os=0x1000000 value=0 count=-1 data=0,0,0,0",
                            "3300 KEY_RELEASE_EVENT class=3 key=0 os=0x1000000 value=0 count=-1 data=0,0,0,0"));
}

TEST_F(SessionPlayerTest, PostsTheSameAtAnySpeedAsTheLibraryDoesByItself) {
    const Session session = sessionOf(busyLines(8933600));
    const Lines expected = driveDirectly(session);
    ASSERT_LT(10U, expected.size());
    for (const double speed : {1.0, 13.5, 1000.0}) {
        driveDirectly(sessionOf("")); // a new manager
        EXPECT_EQ(expected, play(session, speed)) << "at speed " << speed;
    }
}

TEST_F(SessionPlayerTest, PostsTheSameWhereTheTickWraps) {
    // The wrap lies within the long press, within the turn of the knob, and after both.
    for (const unsigned int beforeWrap : {200U, 391U, 450U, 600U, 1100U}) {
        const Session session = sessionOf(busyLines(0U - beforeWrap));
        const Lines expected = driveDirectly(session);
        EXPECT_EQ(driveDirectly(sessionOf(busyLines(1000))).size(), expected.size());
        EXPECT_EQ(expected, play(session)) << beforeWrap << " ms before the wrap";
    }
}

TEST_F(SessionPlayerTest, AtItsOwnPaceNothingComesBeforeItsTime) {
    QElapsedTimer sinceStart;
    sinceStart.start();
    play(sessionOf("1000 set low-pass 1\n1150 pass\n1250 end\n"), 1);
    EXPECT_LE(250, sinceStart.elapsed());
}

TEST_F(SessionPlayerTest, WithoutRecordedPassesTheWorkersBeatIsMade) {
    EXPECT_THAT(play(sessionOf("1050 toolkit TOOLKIT_KEY_PRESS_EVENT time=1001 os=0x1000000\n"
                               "4000 toolkit TOOLKIT_KEY_RELEASE_EVENT os=0x1000000\n")),
                ElementsAre("1001 KEY_PRESS_EVENT class=3 key=0 os=0x1000000 value=0 count=-1 data=0,0,0,0",
                            "3050 KEY_LONG_PRESS_EVENT class=3 key=0 os=0x1000000 value=0 count=-1 data=0,0,0,0",
                            "3050 KEY_LONG_RELEASE_EVENT class=3 key=0 os=0x1000000 value=0 count=-1 data=0,0,0,0",
                            "4000 KEY_RELEASE_EVENT class=3 key=0 os=0x1000000 value=0 count=-1 data=0,0,0,0"));
}

TEST_F(SessionPlayerTest, WithoutRecordedPassesTheLastStepsComeOutToo) {
    const Lines posted = play(sessionOf("1000 toolkit TOOLKIT_KEY_PRESS_EVENT os=0x1000013\n"));
    ASSERT_EQ(1U, posted.size());
    EXPECT_THAT(posted[0], testing::HasSubstr("ENCODER_MOVE_EVENT"));
}

TEST_F(SessionPlayerTest, WithoutRecordedPassesAFrameOfTheKeypadBringsOne) {
    const std::string keypad = "1000 set keypad key 1 code 0 byte 0 bit 0 id 18FF0001\n";
    const std::string held = "1000 toolkit TOOLKIT_KEY_PRESS_EVENT os=0x1000000\n(0000000001.055000) can0 123#00\n"
                             "4000 toolkit TOOLKIT_KEY_RELEASE_EVENT os=0x1000000\n";
    const Lines listening = play(sessionOf(keypad + held));
    ASSERT_EQ(4U, listening.size());
    EXPECT_THAT(listening[1], testing::HasSubstr("3055 KEY_LONG_PRESS_EVENT")) << "the beat begins anew";
    const Lines deaf = play(sessionOf(held));
    ASSERT_EQ(4U, deaf.size());
    EXPECT_THAT(deaf[1], testing::HasSubstr("3000 KEY_LONG_PRESS_EVENT"));
}

TEST_F(SessionPlayerTest, WithoutRecordedPassesItGoesOnFor200MsOrToTheEndIfThatIsLater) {
    const std::string held = "1000 toolkit TOOLKIT_KEY_PRESS_EVENT os=0x1000000\n";
    const std::string wheel = " toolkit TOOLKIT_WHEEL_EVENT key=4 count=1\n";
    EXPECT_THAT(play(sessionOf(held + "2800" + wheel)).back(), testing::HasSubstr("3000 KEY_LONG_PRESS_EVENT"));
    EXPECT_THAT(play(sessionOf(held + "2799" + wheel)).back(), testing::HasSubstr("2799 ENCODER_MOVE_EVENT"));
    EXPECT_EQ(1U, play(sessionOf(held + "2999 end\n")).size());
    EXPECT_EQ(2U, play(sessionOf(held + "3000 end\n")).size());
}

TEST_F(SessionPlayerTest, WithRecordedPassesNoneIsAdded) {
    const Lines posted =
        play(sessionOf("1000 toolkit TOOLKIT_KEY_PRESS_EVENT os=0x1000000\n2999 pass\n9000 end\n"));
    EXPECT_THAT(posted, ElementsAre(testing::HasSubstr("1000 KEY_PRESS_EVENT")));
}

TEST_F(SessionPlayerTest, OfOneTickTheOrderOfTheFileCounts) {
    const std::string press = "1000 toolkit TOOLKIT_KEY_PRESS_EVENT os=0x1000000\n";
    const std::string release = "3000 toolkit TOOLKIT_KEY_RELEASE_EVENT os=0x1000000\n";
    const Lines passFirst = play(sessionOf(press + "3000 pass\n" + release));
    ASSERT_EQ(4U, passFirst.size());
    EXPECT_THAT(passFirst[1], testing::HasSubstr("3000 KEY_LONG_PRESS_EVENT"));
    EXPECT_THAT(passFirst[2], testing::HasSubstr("3000 KEY_LONG_RELEASE_EVENT"));
    EXPECT_THAT(passFirst[3], testing::HasSubstr("3000 KEY_RELEASE_EVENT"));
    const Lines releaseFirst = play(sessionOf(press + release + "3000 pass\n"));
    ASSERT_EQ(2U, releaseFirst.size());
    EXPECT_THAT(releaseFirst[1], testing::HasSubstr("3000 KEY_RELEASE_EVENT"));
}

TEST_F(SessionPlayerTest, WithoutRecordedPassesThatOfATickIsBeforeTheInput) {
    const Lines posted = play(sessionOf("1000 toolkit TOOLKIT_KEY_PRESS_EVENT os=0x1000000\n"
                                        "3000 toolkit TOOLKIT_KEY_RELEASE_EVENT os=0x1000000\n"));
    ASSERT_EQ(4U, posted.size());
    EXPECT_THAT(posted[1], testing::HasSubstr("3000 KEY_LONG_PRESS_EVENT"));
}

TEST_F(SessionPlayerTest, SettingsGoToWhoShowsThem) {
    play(
        sessionOf("1 set long-press 900\n2 set double-press 20\n3 set accept-input off\n4 set accept-input on\n"));
    ASSERT_EQ(4U, settings.size());
    EXPECT_EQ(KX::KXInputSetting::LongKeyPressDuration, settings[0].name);
    EXPECT_EQ(900, settings[0].value);
    EXPECT_EQ(KX::KXInputSetting::DoubleKeyPressDuration, settings[1].name);
    EXPECT_EQ(0, settings[2].value);
    EXPECT_EQ(1, settings[3].value);
}

TEST_F(SessionPlayerTest, FramesAndKeypadsAreLeftOutAndCounted) {
    const Session session = sessionOf("1 set keypad key 1 code 0 byte 0 bit 0 id 18FF0001\n"
                                      "(0000000000.002000) can0 18FF0001#01\n3 pass\n4 end\n");
    EXPECT_THAT(play(session), IsEmpty());
}

TEST_F(SessionPlayerTest, TellsOnceThatItHasFinished) {
    const auto player = playerOf(sessionOf("1000 pass\n1010 end\n"), 1);
    QSignalSpy finished(player.get(), &SessionPlayer::finished);
    player->start();
    EXPECT_TRUE(finished.wait(longestPlayMs));
    QTest::qWait(50);
    EXPECT_EQ(1, finished.count());
}

TEST_F(SessionPlayerTest, ItsTickRunsAndStopsAtTheEnd) {
    const auto player = playerOf(sessionOf("4294967290 pass\n50 end\n"), 1);
    EXPECT_EQ(4294967290U, player->tick());
    QSignalSpy finished(player.get(), &SessionPlayer::finished);
    player->start();
    unsigned int last = player->tick();
    bool wasWithin = false;
    while (finished.count() == 0) {
        QTest::qWait(5);
        const unsigned int now = player->tick();
        EXPECT_LE(now - last, 56U) << "from " << last << " to " << now;
        wasWithin = wasWithin || (now != 4294967290U && now != 50);
        last = now;
    }
    EXPECT_TRUE(wasWithin);
    EXPECT_EQ(50U, player->tick());
    QTest::qWait(20);
    EXPECT_EQ(50U, player->tick());
}

TEST_F(SessionPlayerTest, WithoutRecordedPassesItsTickStopsWithTheLastOfThem) {
    const auto player = playerOf(sessionOf("1000 toolkit TOOLKIT_KEY_PRESS_EVENT os=0x1000013\n"), 1000);
    QSignalSpy finished(player.get(), &SessionPlayer::finished);
    player->start();
    EXPECT_TRUE(finished.wait(longestPlayMs));
    EXPECT_EQ(1200U, player->tick());
}

TEST_F(SessionPlayerTest, AnEmptySessionFinishesAtOnce) {
    EXPECT_THAT(play(Session()), IsEmpty());
    EXPECT_EQ(0U, playerOf(Session(), 1)->tick());
}

TEST_F(SessionPlayerTest, TheWindowGetsItsTurnWhileMuchIsDueAtOnce) {
    std::string lines;
    for (int i = 0; i < 5001; ++i)
        lines += "7 toolkit TOOLKIT_KEY_RELEASE_EVENT os=0x1000000 value=" + std::to_string(i) + "\n";
    const auto player = playerOf(sessionOf(lines + "7 pass\n"), 1);
    std::vector<std::size_t> played;
    QObject::connect(player.get(), &SessionPlayer::progressed, [&] { played.push_back(player->playedInputs()); });
    QSignalSpy finished(player.get(), &SessionPlayer::finished);
    player->start();
    EXPECT_TRUE(finished.wait(longestPlayMs));
    EXPECT_THAT(played, ElementsAre(2000, 4000, 5002));
    const Lines posted = takePosted();
    ASSERT_EQ(5001U, posted.size());
    for (std::size_t i = 0; i < posted.size(); ++i)
        ASSERT_THAT(posted[i], testing::HasSubstr(" value=" + std::to_string(i) + " "));
}
