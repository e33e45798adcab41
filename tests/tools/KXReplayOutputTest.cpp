#include "ReplayTest.h"
#include "ToolProgram.h"
#include "tools/arguments/BadInput.h"
#include "tools/kxreplay/ClosestCalls.h"
#include "tools/kxreplay/Settings.h"
#include "tools/kxreplay/Summary.h"
#include "tools/kxreplay/comparison/Comparison.h"
#include "tools/kxreplay/comparison/Expectation.h"

#include <Qt>

namespace Replay::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const std::string press = " toolkit TOOLKIT_KEY_PRESS_EVENT os=0x1000000\n";
const std::string release = " toolkit TOOLKIT_KEY_RELEASE_EVENT os=0x1000000\n";

TEST(KXReplayEventOutput, an_event_is_a_json_object_with_the_fields_of_the_line) {
    KX::KXInputEvent event;
    event.eventClass = 3;
    event.eventType = KX::KEY_PRESS_EVENT;
    event.timeStamp = 4294967295U;
    event.keyCode = 65535;
    event.osKeyCode = static_cast<int>(0x81000000U);
    event.value = -5;
    event.eventData[0] = 1;
    event.eventData[3] = 4294967295U;
    EXPECT_EQ(toJSON(event),
              "{\"time\":4294967295,\"type\":24,\"name\":\"KEY_PRESS_EVENT\",\"class\":3,"
              "\"key\":65535,\"os\":2164260864,\"value\":-5,\"count\":-1,\"data\":[1,0,0,4294967295]}");
    event.eventType = 1010;
    event.osKeyCode = -1;
    EXPECT_THAT(toJSON(event), HasSubstr("\"type\":1010,\"name\":\"UnknownEventType(1010)\""));
    EXPECT_THAT(toJSON(event), HasSubstr("\"os\":-1,"));
}

TEST(KXReplayEventOutput, keys_are_called_by_the_names_that_the_toolkit_has_for_them) {
    KX::KXInputEvent event;
    event.eventType = KX::KEY_PRESS_EVENT;
    event.keyCode = 0;
    event.osKeyCode = Qt::Key_Escape;
    EXPECT_EQ(nameKey(event), "key 0 (Esc)");
    event.osKeyCode = -1;
    EXPECT_EQ(nameKey(event), "key 0");
    event.osKeyCode = 0x12345;
    EXPECT_EQ(nameKey(event), "key 0") << "no name of plain letters";
    event.keyCode = 65535;
    event.osKeyCode = Qt::Key_A;
    EXPECT_EQ(nameKey(event), "a key without code (A)");
    event.eventType = KX::MOUSE_PRESS_EVENT;
    event.eventData[1] = 2;
    EXPECT_EQ(nameKey(event), "mouse button 2");
}

TEST(KXReplayExpectation, of_a_file_that_cannot_be_read_is_refused) {
    try {
        const Expectation expectation("/nowhere/expected");
        ADD_FAILURE() << "it was accepted";
    } catch (const Arguments::BadInput& error) {
        EXPECT_STREQ(error.what(), "/nowhere/expected: No such file or directory");
    }
    EXPECT_THROW(Expectation("/"), Arguments::BadInput);
}

OtherSettings durations(std::optional<unsigned int> doublePressMs, std::optional<unsigned int> longPressMs) {
    OtherSettings settings;
    if (doublePressMs)
        settings.values[KX::KXInputSetting::DoubleKeyPressDuration] = *doublePressMs;
    if (longPressMs)
        settings.values[KX::KXInputSetting::LongKeyPressDuration] = *longPressMs;
    return settings;
}

TEST(KXReplayExpectation, is_the_text_of_the_file_to_the_byte) {
    const TestFolder folder;
    for (const std::string text : {"", "\n", "a", "a\n", "a\n\nb", "a\r\n"})
        EXPECT_TRUE(Expectation(folder.write("expected", text)).isMetBy(text)) << text;
}

TEST(KXReplayExpectation, with_a_line_that_is_too_long_is_refused) {
    const TestFolder folder;
    const std::string longest = "first\n" + std::string(1048576, 'x');
    EXPECT_TRUE(Expectation(folder.write("expected", longest)).isMetBy(longest));
    const std::string file = folder.write("expected", longest + "x");
    try {
        const Expectation expectation(file);
        ADD_FAILURE() << "it was accepted";
    } catch (const Arguments::BadInput& error) {
        EXPECT_EQ(error.what(), file + ":2: the line is longer than 1048576 characters");
    }
}

class KXReplayDurations : public testing::Test {
protected:
    static std::string check(std::optional<unsigned int> doublePressMs, std::optional<unsigned int> longPressMs,
                             const std::string& lines) {
        const OtherSettings settings = durations(doublePressMs, longPressMs);
        try {
            checkDurations(settings, playableOf(std::make_shared<const KX::Recording::Session>(recording(lines))),
                           "day.kxr");
            return "accepted";
        } catch (const Arguments::BadInput& error) {
            return error.what();
        }
    }
};

TEST_F(KXReplayDurations, a_double_press_must_stay_shorter_than_a_long_press) {
    const std::string lines = "0 pass\n";
    EXPECT_EQ(check(1999, {}, lines), "accepted");
    EXPECT_EQ(check(2000, {}, lines),
              "kxreplay: a double press of 2000 ms is not shorter than a long press of 2000 ms");
    EXPECT_EQ(check({}, 300, lines),
              "kxreplay: a double press of 300 ms is not shorter than a long press of 300 ms");
    EXPECT_EQ(check({}, 301, lines), "accepted");
    EXPECT_EQ(check(5000, 5001, lines), "accepted");
}

TEST_F(KXReplayDurations, what_is_set_before_the_first_input_counts_as_a_whole) {
    EXPECT_EQ(check(2500, {}, "0 set double-press 100\n0 set long-press 5000\n1 pass\n"), "accepted");
    EXPECT_EQ(check({}, 200, "0 set double-press 100\n1 pass\n"), "accepted");
}

TEST_F(KXReplayDurations, a_setting_later_that_does_not_fit_is_told_with_its_line) {
    EXPECT_EQ(check(2500, {}, "0 set long-press 5000\n1 pass\n2 set long-press 2500\n"),
              "day.kxr:4: a double press of 2500 ms is not shorter than a long press of 2500 ms");
    EXPECT_EQ(check({}, {}, "0 set long-press 100\n1 pass\n"), "accepted") << "refused when it was recorded";
}

class KXReplayComparison : public ReplayTest {
protected:
    std::vector<PlayedEvent> playWith(const KX::Recording::Session& session,
                                      std::optional<unsigned int> doublePressMs,
                                      std::optional<unsigned int> longPressMs) {
        Player::Options options;
        options.other = durations(doublePressMs, longPressMs);
        return playEvents(session, options);
    }
};

TEST_F(KXReplayComparison, marks_what_is_another_event_and_what_comes_in_one_play_only) {
    const KX::Recording::Session session =
        recording("1000" + press + "1100" + release + "1280" + press + "2600 pass\n3200 pass\n3280 pass\n3300" +
                  release + "3400 toolkit TOOLKIT_MOUSE_PRESS_EVENT data=0,1,0,0\n");
    const Comparison comparison(playEvents(session), playWith(session, 250, 1300));
    EXPECT_EQ(comparison.toText("--double-press 250 --long-press 1300"),
              "Other settings: --double-press 250 --long-press 1300\n"
              "\n"
              "As recorded                                                 With the other settings\n"
              "1000 KEY_PRESS key 0 (Esc)                                  1000 KEY_PRESS key 0 (Esc)\n"
              "1100 KEY_RELEASE key 0 (Esc)                                1100 KEY_RELEASE key 0 (Esc)\n"
              "1280 KEY_DOUBLE_PRESS key 0 (Esc)                         | 1280 KEY_PRESS key 0 (Esc)\n"
              "                                                          > 2600 KEY_LONG_PRESS key 0 (Esc)\n"
              "3280 KEY_LONG_PRESS key 0 (Esc)                           <\n"
              "3280 KEY_LONG_RELEASE key 0 (Esc)                         | 2600 KEY_LONG_RELEASE key 0 (Esc)\n"
              "3300 KEY_RELEASE key 0 (Esc)                                3300 KEY_RELEASE key 0 (Esc)\n"
              "3400 MOUSE_PRESS mouse button 1                             3400 MOUSE_PRESS mouse button 1\n"
              "4 differences: 2 changed (|), 1 only as recorded (<), 1 only with the other settings (>)\n");
}

TEST_F(KXReplayComparison, events_of_one_input_are_put_beside_what_they_belong_to) {
    const KX::Recording::Session session = recording("1000" + press + "3000 pass\n3001" + release);
    const Comparison comparison(playEvents(session), playWith(session, {}, 2500));
    EXPECT_EQ(comparison.getRows().size(), 4U);
    EXPECT_THAT(
        comparison.toText("x"),
        HasSubstr("3000 KEY_LONG_RELEASE key 0 (Esc)                         <\n"
                  "3001 KEY_RELEASE key 0 (Esc)                                3001 KEY_RELEASE key 0 (Esc)\n"
                  "2 differences: 0 changed (|), 2 only as recorded (<), 0 only with the other settings (>)\n"));
}

TEST_F(KXReplayComparison, of_equal_plays_counts_the_events) {
    const KX::Recording::Session session = recording("1000" + press + "1100 pass\n");
    const Comparison comparison(playEvents(session), playWith(session, 299, {}));
    EXPECT_THAT(comparison.toText("x"), testing::EndsWith("no differences in 1 event\n"));
    EXPECT_EQ(comparison.toJSON(), "{\"differences\":0}\n");
    EXPECT_THAT(Comparison({}, {}).toText("x"), testing::EndsWith("no differences in 0 events\n"));
}

TEST_F(KXReplayComparison, as_json_has_an_object_for_each_difference) {
    const KX::Recording::Session session = recording("1000" + press + "1300" + press + "3300 pass\n");
    const Comparison comparison(playEvents(session), playWith(session, 299, 2001));
    const auto json = [](int time, int type, const std::string& name) {
        return "{\"time\":" + std::to_string(time) + ",\"type\":" + std::to_string(type) + ",\"name\":\"" + name +
               "\",\"class\":3,\"key\":0,\"os\":16777216,\"value\":0,\"count\":-1,\"data\":[0,0,0,0]}";
    };
    EXPECT_EQ(comparison.toJSON(), "{\"recorded\":" + json(1300, 501, "KEY_DOUBLE_PRESS_EVENT") +
                                       ",\"changed\":" + json(1300, 24, "KEY_PRESS_EVENT") +
                                       "}\n"
                                       "{\"recorded\":" +
                                       json(3300, 500, "KEY_LONG_PRESS_EVENT") +
                                       ",\"changed\":null}\n"
                                       "{\"differences\":2}\n");
}

TEST_F(KXReplayComparison, cells_that_are_too_wide_are_cut) {
    const KX::Recording::Session session = recording(
        "4000000000 set user-factor 2000000000\n4000000000 toolkit TOOLKIT_WHEEL_EVENT key=4 count=2000000000 "
        "os=0x1000013\n4000000001 toolkit 102\n");
    std::istringstream lines(Comparison(playEvents(session), {}).toText("x"));
    for (std::string line; std::getline(lines, line);)
        EXPECT_LE(line.size(), 117U) << line;
}

class KXReplayClosestCalls : public ReplayTest {
protected:
    Summary summaryOf(const std::string& lines) {
        const KX::Recording::Session session = recording(lines);
        Summary summary{KX::Recording::SessionFacts(session)};
        for (const PlayedEvent& played : playEvents(session))
            summary.take(played);
        return summary;
    }

    ClosestCalls callsOf(const std::string& lines) {
        ClosestCalls calls;
        for (const PlayedEvent& played : playEvents(recording(lines)))
            calls.take(played);
        return calls;
    }

    static std::vector<unsigned int> timesOf(const std::vector<ClosestCalls::Call>& calls) {
        std::vector<unsigned int> times;
        for (const ClosestCalls::Call& call : calls)
            times.push_back(call.tookMs);
        return times;
    }
};

TEST_F(KXReplayClosestCalls, are_told_with_what_they_were_taken_for) {
    EXPECT_EQ(
        summaryOf("1000" + press + "1050" + release + "1290" + press + "1300" + release + "1600" + press + "3560" +
                  release + "4000" + press + "5900 pass\n6010 pass\n6040" + release + "7000" + press + "9040" +
                  release)
            .toText(),
        "10 toolkit events and 2 passes of the worker in 8.040 s gave 12 classified events:\n"
        "       4  KEY_PRESS_EVENT\n"
        "       5  KEY_RELEASE_EVENT\n"
        "       1  KEY_LONG_PRESS_EVENT\n"
        "       1  KEY_DOUBLE_PRESS_EVENT\n"
        "       1  KEY_LONG_RELEASE_EVENT\n"
        "\n"
        "Near the limit of a double press:\n"
        "  line 4, tick 1290: second press of key 0 (Esc) 290 ms after the first, 10 ms below the limit of 300 "
        "ms: taken for a double press (KEY_DOUBLE_PRESS_EVENT)\n"
        "  line 6, tick 1600: second press of key 0 (Esc) 310 ms after the first, 10 ms above the limit of 300 "
        "ms: taken for a single press (KEY_PRESS_EVENT)\n"
        "\n"
        "Near the limit of a long press:\n"
        "  line 7, tick 3560: key 0 (Esc) released 1960 ms after its press, 40 ms below the limit of 2000 ms: "
        "not taken for a long press\n"
        "  line 11, tick 6040: key 0 (Esc) released 2040 ms after its press, 40 ms above the limit of 2000 ms: "
        "taken for a long press by the worker's pass after 2010 ms\n"
        "  line 13, tick 9040: key 0 (Esc) released 2040 ms after its press, 40 ms above the limit of 2000 ms: "
        "not taken for a long press because the worker made no pass in between\n");
}

TEST_F(KXReplayClosestCalls, of_a_session_without_any_say_so) {
    EXPECT_EQ(summaryOf("1000 pass\n").toText(), "1 pass of the worker in 0.000 s gave no classified events\n"
                                                 "\n"
                                                 "Near the limit of a double press:\n"
                                                 "  none\n"
                                                 "\n"
                                                 "Near the limit of a long press:\n"
                                                 "  none\n");
    EXPECT_THAT(summaryOf("").toText(), testing::StartsWith("no input in 0.000 s gave no classified events\n"));
    EXPECT_THAT(summaryOf("(0.000000) can0 123#\n7" + press + "1007 pass\n").toText(),
                testing::StartsWith("1 toolkit event, 1 CAN frame and 1 pass of the worker in 1.007 s gave 1 "
                                    "classified event:\n"));
}

TEST_F(KXReplayClosestCalls, lie_within_a_quarter_of_the_limit) {
    const auto apart = [](unsigned int ms) { return "0 pass\n1000" + press + std::to_string(1000 + ms) + press; };
    EXPECT_THAT(timesOf(callsOf(apart(224)).doublePresses()), IsEmpty());
    EXPECT_THAT(timesOf(callsOf(apart(225)).doublePresses()), ElementsAre(225U));
    EXPECT_THAT(timesOf(callsOf(apart(375)).doublePresses()), ElementsAre(375U));
    EXPECT_THAT(timesOf(callsOf(apart(376)).doublePresses()), IsEmpty());
    const auto held = [](unsigned int ms) { return "0 pass\n1000" + press + std::to_string(1000 + ms) + release; };
    EXPECT_THAT(timesOf(callsOf(held(1499)).longPresses()), IsEmpty());
    EXPECT_THAT(timesOf(callsOf(held(1500)).longPresses()), ElementsAre(1500U));
    EXPECT_THAT(timesOf(callsOf(held(2500)).longPresses()), ElementsAre(2500U));
    EXPECT_THAT(timesOf(callsOf(held(2501)).longPresses()), IsEmpty());
}

TEST_F(KXReplayClosestCalls, of_presses_are_those_of_one_key_without_another_in_between) {
    const std::string home = " toolkit TOOLKIT_KEY_PRESS_EVENT os=0x1000010\n";
    EXPECT_THAT(timesOf(callsOf("0 pass\n1000" + press + "1150" + home + "1300" + press).doublePresses()),
                IsEmpty());
    const std::string left = " toolkit TOOLKIT_MOUSE_PRESS_EVENT data=0,1,0,0\n";
    const std::string right = " toolkit TOOLKIT_MOUSE_PRESS_EVENT data=0,2,0,0\n";
    EXPECT_THAT(timesOf(callsOf("0 pass\n1000" + left + "1300" + left + "1600" + right).doublePresses()),
                ElementsAre(300U));
    EXPECT_THAT(
        summaryOf("0 pass\n1000" + left + "1300" + left).toText(),
        HasSubstr("second press of mouse button 1 300 ms after the first, just at the limit of 300 ms: taken "
                  "for a double press (MOUSE_DOUBLE_PRESS_EVENT)\n"));
}

TEST_F(KXReplayClosestCalls, of_holds_are_those_of_the_key_that_was_pressed_last) {
    const std::string home = " toolkit TOOLKIT_KEY_PRESS_EVENT os=0x1000010\n";
    EXPECT_THAT(timesOf(callsOf("0 pass\n1000" + press + "1100" + home + "3000" + release).longPresses()),
                IsEmpty());
    EXPECT_THAT(timesOf(callsOf("0 pass\n1000 toolkit TOOLKIT_MOUSE_PRESS_EVENT\n2990 toolkit "
                                "TOOLKIT_MOUSE_ESCAPE_EVENT\n3050 toolkit TOOLKIT_MOUSE_RELEASE_EVENT\n")
                            .longPresses()),
                ElementsAre(1990U))
        << "the escape ends it";
}

TEST_F(KXReplayClosestCalls, are_measured_by_the_limits_that_held_then) {
    const ClosestCalls calls =
        callsOf("0 pass\n1000" + press + "1300" + press + "1300 set double-press 1000\n2250" + press +
                "2250 set long-press 3000\n5000" + release);
    ASSERT_EQ(calls.doublePresses().size(), 2U);
    EXPECT_EQ(calls.doublePresses()[0].limitMs, 300U);
    EXPECT_EQ(calls.doublePresses()[1].limitMs, 1000U);
    ASSERT_EQ(calls.longPresses().size(), 1U);
    EXPECT_EQ(calls.longPresses()[0].limitMs, 3000U);
}

TEST_F(KXReplayClosestCalls, of_long_presses_are_measured_by_the_limit_by_which_they_were_recognised) {
    const std::string lines = "1000 set long-press 500\n1000" + press + "1650 set long-press 3000\n";
    EXPECT_TRUE(callsOf(lines + "1660" + release).lateLongPresses().empty()) << "its pass came at 1500";
    EXPECT_TRUE(callsOf(lines + "4000" + release).longPresses().empty());
    const auto near =
        callsOf("1000 set long-press 500\n1000" + press + "1610 set long-press 3000\n1620" + release);
    ASSERT_EQ(near.longPresses().size(), 1U);
    EXPECT_EQ(near.longPresses()[0].limitMs, 500U);
    EXPECT_EQ(near.longPresses()[0].longAfterMs, 500U);
}

TEST_F(KXReplayClosestCalls, are_the_five_nearest_the_nearest_first) {
    std::string lines = "0 pass\n";
    unsigned int tick = 1000;
    for (const unsigned int apartMs : {250U, 310U, 290U, 360U, 301U, 299U, 320U}) {
        lines += std::to_string(tick) + press + std::to_string(tick + apartMs) + press;
        tick += 10000;
    }
    EXPECT_THAT(timesOf(callsOf(lines).doublePresses()), ElementsAre(301U, 299U, 310U, 290U, 320U));
}

TEST_F(KXReplayClosestCalls, long_presses_that_were_recognised_late_are_told_too) {
    const auto passAt = [this](unsigned int ms) {
        return summaryOf("1000" + press + std::to_string(1000 + ms) + " pass\n").toText();
    };
    EXPECT_THAT(passAt(2150), testing::Not(HasSubstr("Late")));
    EXPECT_THAT(
        passAt(2151),
        testing::EndsWith("\n"
                          "Late long presses:\n"
                          "  line 3, tick 3151: key 0 (Esc) taken for a long press only 2151 ms after its "
                          "press, 151 ms above the limit of 2000 ms, because the worker made no pass before\n"));
}

TEST_F(KXReplayClosestCalls, as_json_are_objects_that_say_what_they_are) {
    EXPECT_EQ(
        summaryOf("1000" + press + "1290" + press + "3600 pass\n").toJSON(),
        "{\"is\":\"session\",\"toolkitEvents\":2,\"frames\":0,\"passes\":1,\"ms\":2600,\"events\":3}\n"
        "{\"is\":\"count\",\"type\":24,\"name\":\"KEY_PRESS_EVENT\",\"count\":1}\n"
        "{\"is\":\"count\",\"type\":500,\"name\":\"KEY_LONG_PRESS_EVENT\",\"count\":1}\n"
        "{\"is\":\"count\",\"type\":501,\"name\":\"KEY_DOUBLE_PRESS_EVENT\",\"count\":1}\n"
        "{\"is\":\"double press\",\"line\":3,\"ms\":290,\"limit\":300,\"reached\":true,\"event\":{\"time\":1290,"
        "\"type\":501,\"name\":\"KEY_DOUBLE_PRESS_EVENT\",\"class\":3,\"key\":0,\"os\":16777216,\"value\":0,"
        "\"count\":-1,\"data\":[0,0,0,0]}}\n"
        "{\"is\":\"late long press\",\"line\":4,\"ms\":2310,\"limit\":2000,\"reached\":true,\"event\":{"
        "\"time\":3600,\"type\":500,\"name\":\"KEY_LONG_PRESS_EVENT\",\"class\":3,\"key\":0,\"os\":16777216,"
        "\"value\":0,\"count\":-1,\"data\":[0,0,0,0]}}\n");
}

} // namespace
} // namespace Replay::test
