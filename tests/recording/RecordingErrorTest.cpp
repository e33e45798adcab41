// The exact message for each line that cannot be read.

#include "RecordingText.h"

#include <gtest/gtest.h>

using KX::Recording::test::errorOfLine;

namespace {

std::string errorOf(const std::string& line) {
    const std::string error = errorOfLine(line);
    const std::string place = "day.kxr:2: ";
    EXPECT_EQ(place, error.substr(0, place.size())) << line;
    return error.substr(std::min(place.size(), error.size()));
}

} // namespace

TEST(RecordingErrorTest, TheTickIsNone) {
    EXPECT_EQ("'foo' is neither a tick nor the (time) of a frame", errorOf("foo pass"));
    EXPECT_EQ("'-1' is neither a tick nor the (time) of a frame", errorOf("-1 pass"));
    EXPECT_EQ("'+1' is neither a tick nor the (time) of a frame", errorOf("+1 pass"));
    EXPECT_EQ("'1.5' is neither a tick nor the (time) of a frame", errorOf("1.5 pass"));
    EXPECT_EQ("'4294967296' is neither a tick nor the (time) of a frame", errorOf("4294967296 pass"));
    EXPECT_EQ("'?' is neither a tick nor the (time) of a frame", errorOf(std::string(1, '\0')));
}

TEST(RecordingErrorTest, NothingFollowsTheTick) {
    EXPECT_EQ("the line ends behind the tick", errorOf("1"));
    EXPECT_EQ("the line ends behind the tick", errorOf(" 4294967295 \t"));
}

TEST(RecordingErrorTest, SomethingFollowsAPassOrTheEnd) {
    EXPECT_EQ("unexpected '2' at the end", errorOf("1 pass 2"));
    EXPECT_EQ("unexpected 'of it' at the end", errorOf("1 end of it"));
}

TEST(RecordingErrorTest, TheTypeOfAnEventIsMissing) {
    EXPECT_EQ("the type of the event is missing", errorOf("1 toolkit"));
}

TEST(RecordingErrorTest, TheTypeOfAnEventIsNone) {
    EXPECT_EQ("'TOOLKIT_KEY' is no type of event", errorOf("1 toolkit TOOLKIT_KEY"));
    EXPECT_EQ("'2147483648' is no type of event", errorOf("1 toolkit 2147483648"));
    EXPECT_EQ("'0x10' is no type of event", errorOf("1 toolkit 0x10"));
    EXPECT_EQ("'os=0x5' is no type of event", errorOf("1 toolkit os=0x5"));
}

TEST(RecordingErrorTest, AWordIsNoField) {
    EXPECT_EQ("'count' is no field; it is to be name=value", errorOf("1 toolkit 300 count"));
    EXPECT_EQ("'=5' is no field; it is to be name=value", errorOf("1 toolkit 300 =5"));
    EXPECT_EQ("'=' is no field; it is to be name=value", errorOf("1 toolkit 300 ="));
}

TEST(RecordingErrorTest, AFieldIsThereTwice) {
    EXPECT_EQ("the field 'count' is there twice", errorOf("1 toolkit 300 count=1 value=2 count=1"));
    EXPECT_EQ("the field 'new' is there twice", errorOf("1 toolkit 300 new=1 new=1"));
}

TEST(RecordingErrorTest, TheValueOfAFieldIsNone) {
    EXPECT_EQ("'-1' is no value for 'time'", errorOf("1 toolkit 300 time=-1"));
    EXPECT_EQ("'4294967296' is no value for 'time'", errorOf("1 toolkit 300 time=4294967296"));
    EXPECT_EQ("'2147483648' is no value for 'class'", errorOf("1 toolkit 300 class=2147483648"));
    EXPECT_EQ("'' is no value for 'key'", errorOf("1 toolkit 300 key="));
    EXPECT_EQ("'-2147483649' is no value for 'value'", errorOf("1 toolkit 300 value=-2147483649"));
    EXPECT_EQ("'1e3' is no value for 'count'", errorOf("1 toolkit 300 count=1e3"));
    EXPECT_EQ("'=5' is no value for 'input-value'", errorOf("1 toolkit 300 input-value==5"));
}

TEST(RecordingErrorTest, AKeyOfTheToolkitIsNone) {
    EXPECT_EQ("'16777216' is no value for 'os'", errorOf("1 toolkit 300 os=16777216"));
    EXPECT_EQ("'0x' is no value for 'os'", errorOf("1 toolkit 300 os=0x"));
    EXPECT_EQ("'0x100000000' is no value for 'os'", errorOf("1 toolkit 300 os=0x100000000"));
    EXPECT_EQ("'0x-1' is no value for 'os'", errorOf("1 toolkit 300 os=0x-1"));
    EXPECT_EQ("'-2' is no value for 'os'", errorOf("1 toolkit 300 os=-2"));
}

TEST(RecordingErrorTest, TheWordsOfAnEventAreNotFour) {
    EXPECT_EQ("'1,2,3' is no value for 'data'", errorOf("1 toolkit 300 data=1,2,3"));
    EXPECT_EQ("'1,2,3,4,5' is no value for 'data'", errorOf("1 toolkit 300 data=1,2,3,4,5"));
    EXPECT_EQ("'1,2,,4' is no value for 'data'", errorOf("1 toolkit 300 data=1,2,,4"));
    EXPECT_EQ("'1,2,3,4,' is no value for 'data'", errorOf("1 toolkit 300 data=1,2,3,4,"));
    EXPECT_EQ("'1,2,3,-4' is no value for 'input-data'", errorOf("1 toolkit 300 input-data=1,2,3,-4"));
}

TEST(RecordingErrorTest, AFlagIsNone) {
    EXPECT_EQ("'2' is no value for 'incident-flag'", errorOf("1 toolkit 300 incident-flag=2"));
    EXPECT_EQ("'on' is no value for 'toolkit-flag'", errorOf("1 toolkit 300 toolkit-flag=on"));
}

TEST(RecordingErrorTest, WhatIsSetIsMissing) {
    EXPECT_EQ("what is set is missing", errorOf("1 set"));
}

TEST(RecordingErrorTest, ANumberThatIsSetIsNone) {
    EXPECT_EQ("'' is no number from 0 to 4294967295", errorOf("1 set double-press"));
    EXPECT_EQ("'-1' is no number from 0 to 4294967295", errorOf("1 set double-press -1"));
    EXPECT_EQ("'4294967296' is no number from 0 to 4294967295", errorOf("1 set long-press 4294967296"));
    EXPECT_EQ("'2147483648' is no number from -2147483648 to 2147483647", errorOf("1 set user-factor 2147483648"));
    EXPECT_EQ("'-2147483649' is no number from -2147483648 to 2147483647", errorOf("1 set low-pass -2147483649"));
    EXPECT_EQ("'9223372036854775808' is no number from -2147483648 to 2147483647",
              errorOf("1 set low-pass 9223372036854775808"));
    EXPECT_EQ("unexpected 'ms' at the end", errorOf("1 set double-press 300 ms"));
}

TEST(RecordingErrorTest, AcceptInputIsNeitherOnNorOff) {
    EXPECT_EQ("'1' is neither 'on' nor 'off'", errorOf("1 set accept-input 1"));
    EXPECT_EQ("'' is neither 'on' nor 'off'", errorOf("1 set accept-input"));
    EXPECT_EQ("unexpected 'off' at the end", errorOf("1 set accept-input on off"));
}

TEST(RecordingErrorTest, ARowOfASpeedTableIsNone) {
    EXPECT_EQ("'2' is no row of a speed table; it is to be gap:increment", errorOf("1 set speed-table 2"));
    EXPECT_EQ("'2:' is no row of a speed table; it is to be gap:increment", errorOf("1 set speed-table 1:1 2:"));
    EXPECT_EQ("':2' is no row of a speed table; it is to be gap:increment", errorOf("1 set speed-table :2"));
    EXPECT_EQ("'1:2:3' is no row of a speed table; it is to be gap:increment", errorOf("1 set speed-table 1:2:3"));
    EXPECT_EQ("'1:-2' is no row of a speed table; it is to be gap:increment", errorOf("1 set speed-table 1:-2"));
    EXPECT_EQ("'4294967296:1' is no row of a speed table; it is to be gap:increment",
              errorOf("1 set speed-table 4294967296:1"));
}

TEST(RecordingErrorTest, APairMapsNoKey) {
    EXPECT_EQ("'5=6' maps no key; it is to be 0xTOOLKITKEY=KEYCODE", errorOf("1 set key-mapping 5=6"));
    EXPECT_EQ("'0x5' maps no key; it is to be 0xTOOLKITKEY=KEYCODE", errorOf("1 set key-mapping 0x5"));
    EXPECT_EQ("'0x=5' maps no key; it is to be 0xTOOLKITKEY=KEYCODE", errorOf("1 set key-mapping 0x=5"));
    EXPECT_EQ("'0x5=0x6' maps no key; it is to be 0xTOOLKITKEY=KEYCODE", errorOf("1 set key-mapping 0x5=0x6"));
    EXPECT_EQ("'0x5=2147483648' maps no key; it is to be 0xTOOLKITKEY=KEYCODE",
              errorOf("1 set key-mapping 0x5=2147483648"));
    EXPECT_EQ("'0x100000000=1' maps no key; it is to be 0xTOOLKITKEY=KEYCODE",
              errorOf("1 set key-mapping 0x100000000=1"));
}

TEST(RecordingErrorTest, AKeyIsMappedTwice) {
    EXPECT_EQ("the key '0x05' is there twice", errorOf("1 set key-mapping 0x5=6 0x05=7"));
}

TEST(RecordingErrorTest, APartOfAKeypadIsTold) {
    EXPECT_EQ("keypad, entry 1: 'kye' is neither 'key' nor 'encoder'", errorOf("1 set keypad kye 1"));
    EXPECT_EQ("keypad, entry 2: 'id' is missing",
              errorOf("1 set keypad key 1 code 0 byte 0 bit 0 id 18FF0001; key 2 code 0 byte 0 bit 1"));
    EXPECT_EQ(
        "keypad, entry 3: key 2: its bit is that of key 1",
        errorOf("1 set keypad key 1 code 0 byte 0 bit 0 id 18FF0001;;key 2 code 0 byte 0 bit 0 id 18FF0001"));
    EXPECT_EQ("keypad, entry 1: encoder: identifier 0 is never the encoder's",
              errorOf("1 set keypad encoder id 0 byte 0"));
    EXPECT_EQ("keypad, entry 1: key 1: code 7 is a key code that the toolkit has no key for",
              errorOf("1 set keypad key 1 code 7 byte 0 bit 0 id 18FF0001"));
    EXPECT_EQ("keypad, entry 1: key 1: code -1 is a key code that the toolkit has no key for",
              errorOf("1 set keypad key 1 code -1 byte 0 bit 0 id 18FF0001"));
}

TEST(RecordingErrorTest, AFrameIsNone) {
    EXPECT_EQ("the time '(1)' is not (seconds.microseconds) with 6 digits behind the point",
              errorOf("(1) can0 123#"));
    EXPECT_EQ("the line ends early; it is to be (seconds.microseconds) interface frame",
              errorOf("(1.000000) can0"));
    EXPECT_EQ("'123' is no frame: there is no # between identifier and data", errorOf("(1.000000) can0 123"));
    EXPECT_EQ("'123##0' is a CAN FD frame; only frames of classic CAN are supported",
              errorOf("(1.000000) can0 123##0"));
    EXPECT_EQ("unexpected 'x' behind the frame", errorOf("(1.000000) can0 123# x"));
}

TEST(RecordingErrorTest, WhatIsQuotedStaysOneShortLine) {
    EXPECT_EQ("'" + std::string(40, '9') + "...' is neither a tick nor the (time) of a frame",
              errorOf(std::string(60000, '9') + " pass"));
    EXPECT_EQ("'a?b??c' is neither a tick nor the (time) of a frame", errorOf("a\033b\xc3\xa4"
                                                                              "c"));
}
