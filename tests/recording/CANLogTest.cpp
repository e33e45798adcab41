#include "recording/format/CANLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <random>
#include <stdexcept>

using namespace KX::CanBus;

namespace {

using testing::Each;
using testing::ElementsAre;

constexpr std::uint32_t extendedFlag = 0x80000000;
constexpr std::uint32_t remoteFlag = 0x40000000;
constexpr std::uint32_t errorFlag = 0x20000000;

bool areEqual(const KX::KXCANMessage& a, const KX::KXCANMessage& b) {
    return a.canId == b.canId && a.canLength == b.canLength && a.canAux == b.canAux &&
           std::equal(std::begin(a.canData), std::end(a.canData), std::begin(b.canData));
}

template<typename Function>
std::string complaintOf(Function function) {
    try {
        function();
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "(none)";
}

std::string complaintAboutFrame(std::string_view text) {
    return complaintOf([&] { parseCANFrame(text); });
}

std::string complaintAboutLine(std::string_view text) {
    return complaintOf([&] { parseCANLogLine(text); });
}

TEST(CANFrameText, eightDigitsAreAnExtendedIdentifier) {
    const KX::KXCANMessage frame = parseCANFrame("18FF0001#0102030405060708");
    EXPECT_EQ(frame.canId, 0x18FF0001 | extendedFlag);
    EXPECT_EQ(frame.canLength, 8u);
    EXPECT_THAT(frame.canData, ElementsAre(1, 2, 3, 4, 5, 6, 7, 8));
    EXPECT_EQ(frame.canAux, 0u);
    EXPECT_EQ(parseCANFrame("00000000#").canId, extendedFlag);
    EXPECT_EQ(parseCANFrame("1FFFFFFF#").canId, 0x1FFFFFFF | extendedFlag);
    EXPECT_EQ(parseCANFrame("00000123#").canId, 0x123 | extendedFlag) << "the digits count, not the value";
}

TEST(CANFrameText, threeDigitsAreAStandardIdentifier) {
    EXPECT_EQ(parseCANFrame("000#").canId, 0u);
    EXPECT_EQ(parseCANFrame("7FF#").canId, 0x7FFu);
    EXPECT_EQ(parseCANFrame("7ff#").canId, 0x7FFu);
}

TEST(CANFrameText, bitTwentyNineMakesAnErrorFrame) {
    EXPECT_EQ(parseCANFrame("20000004#0004000000000000").canId, 4 | errorFlag);
    EXPECT_EQ(parseCANFrame("3FFFFFFF#").canId, 0x3FFFFFFFu);
}

TEST(CANFrameText, hasNoneToEightBytes) {
    EXPECT_EQ(parseCANFrame("123#").canLength, 0u);
    EXPECT_THAT(parseCANFrame("123#").canData, Each(0));
    const KX::KXCANMessage one = parseCANFrame("123#aB");
    EXPECT_EQ(one.canLength, 1u);
    EXPECT_THAT(one.canData, ElementsAre(0xAB, 0, 0, 0, 0, 0, 0, 0));
    EXPECT_EQ(parseCANFrame("123#00112233445566").canLength, 7u);
    EXPECT_EQ(parseCANFrame("123#0011223344556677").canLength, 8u);
}

TEST(CANFrameText, dotsMayStandBetweenBytes) {
    EXPECT_TRUE(areEqual(parseCANFrame("123#11.22.3344"), parseCANFrame("123#11223344")));
}

TEST(CANFrameText, remoteFramesHaveALengthWithoutData) {
    const KX::KXCANMessage frame = parseCANFrame("18FF0001#R8");
    EXPECT_EQ(frame.canId, 0x18FF0001 | extendedFlag | remoteFlag);
    EXPECT_EQ(frame.canLength, 8u);
    EXPECT_THAT(frame.canData, Each(0));
    EXPECT_EQ(parseCANFrame("123#R").canId, 0x123 | remoteFlag);
    EXPECT_EQ(parseCANFrame("123#R").canLength, 0u);
    EXPECT_EQ(parseCANFrame("123#r0").canLength, 0u);
}

TEST(CANFrameText, eachMistakeIsToldByItsName) {
    const std::string digits = " has not 3 or 8 hexadecimal digits";
    const std::string bytes = " are not bytes of two hexadecimal digits each";
    const std::string remote = " of a remote frame is not 0 to 8";
    const std::pair<const char*, std::string> cases[] = {
        {"", "'' is no frame: there is no # between identifier and data"},
        {"123", "'123' is no frame: there is no # between identifier and data"},
        {"#11", "the identifier ''" + digits},
        {"12#11", "the identifier '12'" + digits},
        {"1234#11", "the identifier '1234'" + digits},
        {"1234567#11", "the identifier '1234567'" + digits},
        {"123456789#11", "the identifier '123456789'" + digits},
        {"12G#11", "the identifier '12G'" + digits},
        {"-12#11", "the identifier '-12'" + digits},
        {"0x1#11", "the identifier '0x1'" + digits},
        {"800#11", "the identifier '800' is above 7FF; one of 29 bits has 8 digits"},
        {"40000000#11", "the identifier '40000000' is above 1FFFFFFF"},
        {"FFFFFFFF#11", "the identifier 'FFFFFFFF' is above 1FFFFFFF"},
        {"123#1", "the data '1'" + bytes},
        {"123#11223", "the data '11223'" + bytes},
        {"123#1G", "the data '1G'" + bytes},
        {"123#-1", "the data '-1'" + bytes},
        {"123#.11", "the data '.11'" + bytes},
        {"123#11.", "the data '11.'" + bytes},
        {"123#11..22", "the data '11..22'" + bytes},
        {"123#1.122", "the data '1.122'" + bytes},
        {"123#11#22", "the data '11#22'" + bytes},
        {"123#001122334455667788", "the data '001122334455667788' are more than 8 bytes"},
        {"123#R9", "the length '9'" + remote},
        {"123#R08", "the length '08'" + remote},
        {"123#Rx", "the length 'x'" + remote},
        {"123##311", "'123##311' is a CAN FD frame; only frames of classic CAN are supported"},
        {"12\n#11", "the identifier '12?'" + digits}};
    for (const auto& [text, complaint] : cases)
        EXPECT_EQ(complaintAboutFrame(text), complaint);
    EXPECT_EQ(complaintAboutFrame(std::string(1000, 'x')).size(), complaintAboutFrame(std::string(41, 'x')).size())
        << "a long text is shortened";
}

TEST(CANLogText, aLineHasTimeInterfaceAndFrame) {
    const CANLogLine line = parseCANLogLine("(1436509052.249713) can0 18FF0001#0102030405060708");
    EXPECT_EQ(line.time.count(), 1436509052249713);
    EXPECT_EQ(line.bus, "can0");
    EXPECT_TRUE(areEqual(line.frame, parseCANFrame("18FF0001#0102030405060708")));
    EXPECT_EQ(line.direction, '\0');
    EXPECT_EQ(parseCANLogLine("(999999999999.999999) can0 123#").time.count(), 999999999999999999);
}

TEST(CANLogText, blanksAroundAndADirectionAreUnderstood) {
    const CANLogLine line = parseCANLogLine("  (0.000001)\t  vcan0  123#11  T \r");
    EXPECT_EQ(line.time.count(), 1);
    EXPECT_EQ(line.bus, "vcan0");
    EXPECT_EQ(line.direction, 'T');
    EXPECT_EQ(parseCANLogLine("(0.000001) can0 123#11 R").direction, 'R');
}

TEST(CANLogText, eachMistakeIsToldByItsName) {
    const std::string time = " is not (seconds.microseconds) with 6 digits behind the point";
    const std::string early = "the line ends early; it is to be (seconds.microseconds) interface frame";
    const std::pair<const char*, std::string> cases[] = {
        {"", "the time ''" + time},
        {"can0 123#11", "the time 'can0'" + time},
        {"1.000000 can0 123#11", "the time '1.000000'" + time},
        {"(1.000000 can0 123#11", "the time '(1.000000'" + time},
        {"(1.0000000 can0 123#11", "the time '(1.0000000'" + time},
        {"01.000000) can0 123#11", "the time '01.000000)'" + time},
        {"[1.000000] can0 123#11", "the time '[1.000000]'" + time},
        {"(1) can0 123#11", "the time '(1)'" + time},
        {"() can0 123#11", "the time '()'" + time},
        {"(.000000) can0 123#11", "the time '(.000000)'" + time},
        {"(1.00000) can0 123#11", "the time '(1.00000)'" + time},
        {"(1.0000000) can0 123#11", "the time '(1.0000000)'" + time},
        {"(-1.000000) can0 123#11", "the time '(-1.000000)'" + time},
        {"(1.-00001) can0 123#11", "the time '(1.-00001)'" + time},
        {"(1000000000000.000000) can0 123#11", "the time '(1000000000000.000000)'" + time},
        {"(1.000000)", early},
        {"(1.000000) can0", early},
        {"(1.000000) can0 123", "'123' is no frame: there is no # between identifier and data"},
        {"(1.000000) can0 123#11 X", "unexpected 'X' behind the frame"},
        {"(1.000000) can0 123#11 22", "unexpected '22' behind the frame"},
        {"(1.000000) can0 123#11 R T", "unexpected 'T' behind the frame"}};
    for (const auto& [text, complaint] : cases)
        EXPECT_EQ(complaintAboutLine(text), complaint);
}

TEST(CANLogText, onlyEmptyLinesAndCommentsSayNothing) {
    for (const char* const text : {"", "  \t\r", "# a comment", "  #"})
        EXPECT_TRUE(isCANLogComment(text)) << text;
    EXPECT_FALSE(isCANLogComment("(0.000000) can0 123#"));
    EXPECT_FALSE(isCANLogComment("123 # a comment"));
}

TEST(CANLogText, canonicalLinesComeBackAsTheyWere) {
    for (const char* const text :
         {"(1436509052.249713) can0 18FF0001#0102030405060708", "(0000000000.000000) can0 123#",
          "(0000000001.000001) vcan12 7FF#R", "(999999999999.999999) x 00000000#R8 T",
          "(1436509052.249713) can1 20000004#0004000000000000 R"})
        EXPECT_EQ(formatCANLogLine(parseCANLogLine(text)), text);
}

CANLogLine makeAnyLine(std::mt19937& random) {
    const auto below = [&](std::uint64_t limit) {
        return std::uniform_int_distribution<std::uint64_t>(0, limit - 1)(random);
    };
    CANLogLine line;
    line.time = std::chrono::microseconds(below(below(2) == 0 ? 1000000000000000000 : 2000000));
    line.bus = "can" + std::to_string(below(100));
    line.direction = "\0RT"[below(3)];
    const std::uint64_t kind = below(3);
    line.frame.canId = static_cast<std::uint32_t>(kind == 0 ? below(0x800) : below(0x20000000));
    line.frame.canId |= kind == 1 ? extendedFlag : kind == 2 ? errorFlag : 0;
    line.frame.canLength = static_cast<std::uint32_t>(below(9));
    if (below(4) == 0) {
        line.frame.canId |= remoteFlag;
    } else {
        std::generate_n(
            line.frame.canData, line.frame.canLength, [&] { return static_cast<unsigned char>(below(256)); });
    }
    return line;
}

TEST(CANLogText, parsingIsTheInverseOfFormatting) {
    const unsigned int seed = std::random_device{}();
    std::mt19937 random(seed);
    for (int i = 0; i < 20000; ++i) {
        const CANLogLine line = makeAnyLine(random);
        const std::string text = formatCANLogLine(line);
        SCOPED_TRACE(text + ", seed " + std::to_string(seed));
        const CANLogLine again = parseCANLogLine(text);
        ASSERT_EQ(again.time, line.time);
        ASSERT_EQ(again.bus, line.bus);
        ASSERT_EQ(again.direction, line.direction);
        ASSERT_TRUE(areEqual(again.frame, line.frame));
        ASSERT_EQ(formatCANLogLine(again), text);
    }
}

} // namespace
