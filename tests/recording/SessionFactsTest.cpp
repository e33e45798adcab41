#include "recording/KXSessionFacts.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace {

using KX::Recording::SessionFacts;

SessionFacts factsOf(const std::string& lines) {
    std::istringstream input("kxrecording 2\n" + lines);
    return SessionFacts(KX::Recording::read(input, "day.kxr", {}));
}

const std::string press = " toolkit TOOLKIT_KEY_PRESS_EVENT os=0x1000000\n";
const std::string inputEvent = " input KEY_PRESS_EVENT key=2\n";
std::string frame(const std::string& ms) {
    return "(000000000" + ms.substr(0, 1) + "." + ms.substr(1) + "000) can0 18FF0001#AB00\n";
}

} // namespace

TEST(SessionFacts, of_nothing_are_zero) {
    const SessionFacts facts;
    EXPECT_FALSE(facts.isPlainLog);
    EXPECT_FALSE(facts.hasPasses);
    EXPECT_EQ(0U, facts.entries);
    EXPECT_EQ(0U, facts.toolkitEvents);
    EXPECT_EQ(0U, facts.frames);
    EXPECT_EQ(0U, facts.passes);
    EXPECT_EQ(0U, facts.firstMs);
    EXPECT_EQ(0U, facts.lastMs);
    EXPECT_EQ(0U, facts.lastInputMs);
    EXPECT_EQ(0, facts.greatestLongPressMs);
    EXPECT_FALSE(facts.doublePressAtHeadMs.has_value());
    EXPECT_FALSE(facts.longPressAtHeadMs.has_value());
}

TEST(SessionFacts, count_the_entries_of_each_kind) {
    const SessionFacts facts = factsOf("1000 pass\n1001" + press + "1002 pass\n" + frame("1003") + frame("1004") +
                                       "1005 pass\n" + frame("1006") + "1007" + press + "1008 pass\n");
    EXPECT_TRUE(facts.hasPasses);
    EXPECT_EQ(9U, facts.entries);
    EXPECT_EQ(2U, facts.toolkitEvents);
    EXPECT_EQ(3U, facts.frames);
    EXPECT_EQ(4U, facts.passes);
}

TEST(SessionFacts, tell_when_the_session_began_and_ended_and_had_its_last_input) {
    for (const std::string& input : {"1100" + press, "1100" + inputEvent, frame("1100")}) {
        const SessionFacts facts = factsOf("1000 pass\n" + input + "1200 set low-pass 500\n1300 pass\n1400 end\n");
        EXPECT_EQ(1000U, facts.firstMs) << input;
        EXPECT_EQ(1100U, facts.lastInputMs) << input;
        EXPECT_EQ(1400U, facts.lastMs) << input;
    }
    EXPECT_EQ(1000U, factsOf("1000 pass\n1100 pass\n").lastInputMs) << "without one of the first entry";
}

TEST(SessionFacts, have_the_greatest_long_press_of_all_settings) {
    EXPECT_EQ(0, factsOf("1000 set double-press 3000\n").greatestLongPressMs);
    EXPECT_EQ(2500, factsOf("1000 set long-press 1500\n1100" + press +
                            "1200 set long-press 2500\n1300 set long-press 400\n1400 set double-press 3000\n")
                        .greatestLongPressMs);
}

TEST(SessionFacts, have_the_first_durations_before_the_operator_does_anything) {
    const SessionFacts facts = factsOf("1000 set long-press 2500\n1000 set double-press 400\n1000 pass\n"
                                       "1001 set long-press 1500\n1001 set double-press 300\n1010" +
                                       press);
    EXPECT_EQ(2500, facts.longPressAtHeadMs);
    EXPECT_EQ(400, facts.doublePressAtHeadMs);
    for (const std::string& input : {press, inputEvent}) {
        const SessionFacts late =
            factsOf("1000" + input + "1000 set long-press 2500\n1000 set double-press 400\n");
        EXPECT_FALSE(late.longPressAtHeadMs.has_value()) << input;
        EXPECT_FALSE(late.doublePressAtHeadMs.has_value()) << input;
    }
}
