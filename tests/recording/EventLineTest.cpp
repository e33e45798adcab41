#include "recording/KXEventLine.h"

#include "events/KXEvent.h"
#include "events/KXEventType.h"

#include <gtest/gtest.h>

#include <climits>
#include <clocale>
#include <string>

using KX::KXEventLine;
using KX::KXInputEvent;

namespace {

KXInputEvent keyPress() {
    KXInputEvent event;
    event.eventType = KX::KEY_PRESS_EVENT;
    event.timeStamp = 1234;
    event.keyCode = 4;
    event.osKeyCode = 0x01000013;
    return event;
}

std::string lineOf(const KXInputEvent& event) {
    return std::string(KXEventLine(event).text());
}

} // namespace

TEST(EventLineTest, HasAllFieldsInTheirOrder) {
    KXInputEvent event = keyPress();
    event.value = 17;
    event.count = 3;
    event.eventData[0] = 5;
    event.eventData[1] = 6;
    event.eventData[2] = 7;
    event.eventData[3] = 8;
    EXPECT_EQ("1234 KEY_PRESS_EVENT class=3 key=4 os=0x1000013 value=17 count=3 data=5,6,7,8", lineOf(event));
}

TEST(EventLineTest, WritesADefaultEvent) {
    EXPECT_EQ("0 UNKNOWN_EVENT class=3 key=-1 os=-1 value=0 count=-1 data=0,0,0,0", lineOf(KXInputEvent()));
}

TEST(EventLineTest, WritesTheToolkitKeyInLowerCaseHexadecimalWithoutLeadingZeros) {
    KXInputEvent event = keyPress();
    event.osKeyCode = 0xabcdef;
    EXPECT_NE(std::string::npos, lineOf(event).find(" os=0xabcdef ")) << lineOf(event);
    event.osKeyCode = 0;
    EXPECT_NE(std::string::npos, lineOf(event).find(" os=0x0 ")) << lineOf(event);
}

TEST(EventLineTest, WritesOnlyMinusOneAsAMissingToolkitKey) {
    KXInputEvent event = keyPress();
    event.osKeyCode = -2;
    EXPECT_NE(std::string::npos, lineOf(event).find(" os=0xfffffffe ")) << lineOf(event);
    event.osKeyCode = -1;
    EXPECT_NE(std::string::npos, lineOf(event).find(" os=-1 ")) << lineOf(event);
}

TEST(EventLineTest, NamesATypeThatTheCatalogueDoesNotHave) {
    KXInputEvent event = keyPress();
    event.eventType = 1010;
    EXPECT_EQ(0U, lineOf(event).find("1234 UnknownEventType(1010) class=3 ")) << lineOf(event);
}

TEST(EventLineTest, TakesTheLongestNameWithTheLongestNumbersWhole) {
    KXInputEvent event;
    event.eventType = KX::POWER_MANAGEMENT_PROPAGATION_TIME_CHANGE_EVENT;
    event.timeStamp = UINT_MAX;
    event.eventClass = event.keyCode = event.value = event.count = INT_MIN;
    event.osKeyCode = -2;
    for (unsigned int& word : event.eventData)
        word = UINT_MAX;
    EXPECT_EQ("4294967295 POWER_MANAGEMENT_PROPAGATION_TIME_CHANGE_EVENT class=-2147483648 key=-2147483648 "
              "os=0xfffffffe value=-2147483648 count=-2147483648 "
              "data=4294967295,4294967295,4294967295,4294967295",
              lineOf(event));
}

TEST(EventLineTest, EndsTheLineOnRequestOnly) {
    const KXEventLine line(keyPress());
    EXPECT_EQ(std::string(line.text()) + "\n", std::string(line.textWithLineEnd()));
}

TEST(EventLineTest, IsTheSameInEveryLocale) {
    KXInputEvent event = keyPress();
    event.timeStamp = 4294967295U;
    const std::string before = lineOf(event);
    // Machines have different locales installed. None of them may group digits.
    for (const char* locale : {"de_DE.UTF-8", "en_US.UTF-8", "C.UTF-8"}) {
        std::setlocale(LC_ALL, locale);
        EXPECT_EQ(before, lineOf(event)) << locale;
    }
    std::setlocale(LC_ALL, "C");
}
