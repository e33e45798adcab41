#include "replay/KXSessionPlayer.h"

#include "input/KXInputEventManager.h"
#include "input/KXInputObserver.h"
#include "platform/KXTick.h"
#include "tests/recording/RecorderFixture.h"

namespace KX {
namespace {

using testing::ElementsAre;

class PlayerTest : public test::RecorderFixture {
protected:
    const std::string& recording(const std::string& lines) {
        std::ofstream(path) << "kxrecording 1\n" << lines;
        return path;
    }

    static std::string brief(const KXInputEvent& event) {
        return std::to_string(event.timeStamp) + " " + translateEventTypeToString(event.eventType);
    }

    static std::vector<std::string> play(KXSessionPlayer& player) {
        std::vector<std::string> events;
        player.play([&events](const KXInputEvent& event) { events.push_back(brief(event)); });
        return events;
    }
};

class DurationsSeen : public KXInputObserver {
public:
    void onSetting(KXInputSetting setting, std::int64_t value) override {
        if (setting == KXInputSetting::DoubleKeyPressDuration)
            doublePressMs = value;
        if (setting == KXInputSetting::LongKeyPressDuration)
            longPressMs = value;
    }

    std::int64_t doublePressMs = 0;
    std::int64_t longPressMs = 0;
};

constexpr const char* heldKey = "1000 toolkit TOOLKIT_KEY_PRESS_EVENT os=0x1000000\n"
                                "3050 toolkit TOOLKIT_KEY_RELEASE_EVENT os=0x1000000\n";

} // namespace

TEST_F(PlayerTest, plays_a_complaint_whole) {
    KXSessionPlayer player(recording(heldKey));
    EXPECT_THAT(play(player), ElementsAre("1000 KEY_PRESS_EVENT", "3000 KEY_LONG_PRESS_EVENT",
                                          "3000 KEY_LONG_RELEASE_EVENT", "3050 KEY_RELEASE_EVENT"));
    EXPECT_FALSE(player.step());
}

TEST_F(PlayerTest, steps_leave_the_events_in_the_managers_queue) {
    KXSessionPlayer player(recording("5 toolkit TOOLKIT_KEY_PRESS_EVENT os=0x1000000\n"
                                     "6 pass\n"
                                     "7 end\n"));
    KXInputEventManager& manager = *KXInputEventManager::getInstance();
    EXPECT_FALSE(manager.hasEvents());
    EXPECT_TRUE(player.step());
    EXPECT_EQ("5 KEY_PRESS_EVENT", brief(manager.getNextEvent()));
    EXPECT_EQ(0U, player.entry());
    EXPECT_TRUE(player.step());
    EXPECT_EQ(6U, KXTick::getTickCount());
    EXPECT_EQ(1U, player.entry());
    EXPECT_TRUE(player.step());
    EXPECT_FALSE(player.step());
    EXPECT_FALSE(player.step());
}

TEST_F(PlayerTest, plays_entries_as_they_come) {
    const Recording::Session session = Recording::readFile(recording(heldKey), {});
    std::size_t asked = 0;
    const auto next = [&]() -> const Recording::Entry* {
        return asked < session.entries.size() ? &session.entries[asked++] : nullptr;
    };
    KXSessionPlayer player(Recording::SessionFacts(session), next, {});
    EXPECT_EQ(1U, asked) << "the first tells the time";
    EXPECT_TRUE(player.step());
    EXPECT_EQ(1U, asked) << "the second may not be there yet";
    EXPECT_EQ(2U, player.line());
    EXPECT_TRUE(player.session().entries.empty());
    EXPECT_THAT(play(player), ElementsAre("1000 KEY_PRESS_EVENT", "3000 KEY_LONG_PRESS_EVENT",
                                          "3000 KEY_LONG_RELEASE_EVENT", "3050 KEY_RELEASE_EVENT"));
    EXPECT_EQ(3U, player.line());
    EXPECT_EQ(1U, player.entry());
}

TEST_F(PlayerTest, what_is_left_after_some_steps_can_be_played) {
    KXSessionPlayer player(recording(heldKey));
    player.step();
    EXPECT_EQ(4U, play(player).size()); // the first event still waits
}

TEST_F(PlayerTest, an_empty_recording_has_no_step) {
    KXSessionPlayer player(recording(""));
    EXPECT_FALSE(player.step());
    EXPECT_TRUE(play(player).empty());
}

TEST_F(PlayerTest, takes_the_manager_that_is_there_and_leaves_it) {
    KXInputEventManager* const manager = KXInputEventManager::createInstance();
    manager->setLongKeyPressDuration(5000);
    {
        KXSessionPlayer player(recording(heldKey));
        EXPECT_EQ(2U, play(player).size());
    }
    EXPECT_TRUE(KXInputEventManager::hasInstance());
    EXPECT_EQ(manager, KXInputEventManager::getInstance());
}

TEST_F(PlayerTest, a_manager_that_is_there_takes_the_durations_at_the_head_whatever_its_own_are) {
    const std::string shortOnes = "1 set double-press 100\n1 set long-press 500\n1 pass\n";
    const std::string longOnes = "1 set long-press 4000\n1 set double-press 3500\n1 pass\n";
    KXInputEventManager& manager = *KXInputEventManager::createInstance();
    DurationsSeen seen;
    for (const bool hasLongOnes : {true, false}) {
        for (const bool playsLongOnes : {true, false}) {
            manager.setDoubleKeyPressDuration(0);
            manager.setLongKeyPressDuration(hasLongOnes ? 9000 : 50);
            manager.setDoubleKeyPressDuration(hasLongOnes ? 8000 : 10);
            KXSessionPlayer player(recording(playsLongOnes ? longOnes : shortOnes));
            play(player);
            KXInputEventManager::setObserver(&seen); // which tells it the present ones
            KXInputEventManager::setObserver(nullptr);
            EXPECT_EQ(playsLongOnes ? 3500 : 100, seen.doublePressMs) << hasLongOnes;
            EXPECT_EQ(playsLongOnes ? 4000 : 500, seen.longPressMs) << hasLongOnes;
        }
    }
}

TEST_F(PlayerTest, makes_a_manager_and_deletes_it) {
    {
        const KXSessionPlayer player(recording(heldKey));
        EXPECT_TRUE(KXInputEventManager::hasInstance());
    }
    EXPECT_FALSE(KXInputEventManager::hasInstance());
}

TEST_F(PlayerTest, each_play_begins_like_a_new_process) {
    for (int i = 0; i < 2; ++i) {
        KXSessionPlayer player(recording("0 set key-mapping 0x41=" + std::to_string(7 + i) +
                                         "\n10 toolkit TOOLKIT_KEY_PRESS_EVENT os=0x41\n"));
        EXPECT_THAT(play(player), ElementsAre("10 KEY_PRESS_EVENT"));
        EXPECT_EQ(0U, KXInputEventManager::getKXtoOSCodeMap()->count(8 - i));
    }
}

TEST_F(PlayerTest, a_bad_file_is_told_with_its_line) {
    try {
        const KXSessionPlayer player(recording("nonsense\n"));
        FAIL();
    } catch (const std::runtime_error& error) {
        EXPECT_EQ(path + ":2: 'nonsense' is neither a tick nor the (time) of a frame", error.what());
    }
    EXPECT_FALSE(KXInputEventManager::hasInstance());
    EXPECT_THROW(KXSessionPlayer(inFolder("none.kxr")), std::runtime_error);
}

TEST_F(PlayerTest, tells_what_it_left_out) {
    const KXSessionPlayer player(recording("5 pass\n6 pa"));
    EXPECT_THAT(player.warnings(), ElementsAre(path + ":3: the last line is cut off; it is left out"));
}

TEST_F(PlayerTest, the_log_of_a_bus_needs_the_toolkit) {
    std::ofstream(path) << "(0000000001.000000) can0 18FF0001#0100000000000000\n";
    try {
        const KXSessionPlayer player(path);
        ADD_FAILURE() << "it was taken";
    } catch (const std::runtime_error& error) {
        EXPECT_EQ(path + ": the log of a CAN bus needs a QApplication, which makes keys of its frames",
                  error.what());
    }
}

TEST_F(PlayerTest, leaves_out_what_the_application_posts_itself_if_it_is_told_to) {
    recording("5 toolkit TOOLKIT_KEY_PRESS_EVENT os=0x1000000\n"
              "6 post KEY_PRESS_EVENT key=7\n"
              "7 input KEY_PRESS_EVENT key=3\n");
    KXSessionPlayer all(path);
    const std::vector<std::string> everything = play(all);
    EXPECT_THAT(everything, testing::Contains("6 KEY_PRESS_EVENT"));
    KXInputEventManager::deleteInstance();
    KXSessionPlayer::Options options;
    options.playsPosts = false;
    KXSessionPlayer others(path, options);
    std::vector<std::string> expected = everything;
    expected.erase(std::find(expected.begin(), expected.end(), "6 KEY_PRESS_EVENT"));
    EXPECT_EQ(expected, play(others));
}

TEST_F(PlayerTest, frames_of_a_recording_need_no_toolkit) {
    KXSessionPlayer player(recording("5 set keypad key 1 code 0 byte 0 bit 0 id 18FF0001\n"
                                     "(0000000000.006000) can0 18FF0001#0100000000000000\n"
                                     "6 pass\n"
                                     "7 toolkit TOOLKIT_KEY_PRESS_EVENT os=0x1000000\n"));
    testing::internal::CaptureStdout();
    EXPECT_THAT(play(player), ElementsAre("7 KEY_PRESS_EVENT"));
    testing::internal::GetCapturedStdout();
}

TEST_F(PlayerTest, across_the_wrap_of_the_tick) {
    KXSessionPlayer player(recording("4294967290 toolkit TOOLKIT_KEY_PRESS_EVENT os=0x1000000\n"
                                     "2100 toolkit TOOLKIT_KEY_RELEASE_EVENT os=0x1000000\n"));
    EXPECT_THAT(play(player), ElementsAre("4294967290 KEY_PRESS_EVENT", "1994 KEY_LONG_PRESS_EVENT",
                                          "1994 KEY_LONG_RELEASE_EVENT", "2100 KEY_RELEASE_EVENT"));
}

} // namespace KX
