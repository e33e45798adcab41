// Everything that is written can be read again, with every field.

#include "RecordingText.h"

#include "events/KXEventType.h"
#include "events/KXVersion.h"
#include "recording/KXKeyLayout.h"
#include "support/RecordingComparison.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <type_traits>
#include <variant>

namespace {

using namespace KX::Recording;
using KX::Recording::test::entryOf;
using KX::Recording::test::isSame;
using KX::Recording::test::outcomeOf;
using KX::Recording::test::rewritten;

// A program that was compiled with version 1 cannot take apart a kind of input that it does not know, and a comparison
// of the binary interface does not see into the standard library's types. Another kind needs another major version.
static_assert(KXAPI_EVENTS_VERSION_MAJOR == 1 &&
              std::is_same_v<Input, std::variant<KX::KXToolkitEvent, KX::KXInputEvent, Post, Frame, NumberSetting,
                                                 SpeedTable, KeyMapping, Keypad, Pass, End>>);

std::string lineOf(unsigned int tick, const Input& input) {
    Entry entry;
    entry.timeMs = tick;
    entry.input = input;
    return format(entry);
}

template<typename Kind>
Kind read(const std::string& line) {
    return std::get<Kind>(entryOf(line).input);
}

Keypad keypadOf(const KX::CANRemoteOptions& layout) {
    return {std::make_shared<const KX::CANRemoteOptions>(layout)};
}

} // namespace

TEST(RecordingFormatTest, AnEventWithItsDefaultsIsItsTypeOnly) {
    KX::KXToolkitEvent event;
    event.timeStamp = 8933600;
    EXPECT_EQ("8933600 toolkit UNKNOWN_EVENT", lineOf(8933600, event));
    event.eventType = KX::TOOLKIT_KEY_PRESS_EVENT;
    EXPECT_EQ("8933600 toolkit TOOLKIT_KEY_PRESS_EVENT", lineOf(8933600, event));
    EXPECT_TRUE(isSame(event, read<KX::KXToolkitEvent>("8933600 toolkit TOOLKIT_KEY_PRESS_EVENT")));
}

TEST(RecordingFormatTest, TheTimeOfAnEventIsWrittenWhenItIsNotThatOfTheLine) {
    KX::KXToolkitEvent event;
    EXPECT_EQ("1 toolkit UNKNOWN_EVENT time=0", lineOf(1, event));
    event.timeStamp = UINT_MAX;
    EXPECT_EQ("1 toolkit UNKNOWN_EVENT time=4294967295", lineOf(1, event));
    EXPECT_EQ(UINT_MAX, read<KX::KXToolkitEvent>("1 toolkit 0 time=4294967295").timeStamp);
}

TEST(RecordingFormatTest, EveryFieldOfAnEventHasItsName) {
    KX::KXToolkitEvent event;
    event.eventType = 4711;
    event.eventClass = 3;
    event.timeStamp = 7;
    event.keyCode = 3;
    event.osKeyCode = 0x1000012;
    event.value = -4;
    event.count = 5;
    event.inputValue = INT_MIN;
    event.incidentFlag = true;
    event.toolkitFlag = true;
    for (unsigned int i = 0; i < 4; ++i) {
        event.eventData[i] = i + 1;
        event.inputData[i] = UINT_MAX - i;
    }
    const std::string line =
        "9 toolkit 4711 time=7 class=3 key=3 os=0x1000012 value=-4 count=5 data=1,2,3,4 input-value=-2147483648 "
        "input-data=4294967295,4294967294,4294967293,4294967292 incident-flag=1 toolkit-flag=1";
    EXPECT_EQ(line, lineOf(9, event));
    EXPECT_TRUE(isSame(event, read<KX::KXToolkitEvent>(line)));
}

TEST(RecordingFormatTest, FieldsMayStandInAnyOrderAndWithTheirDefaults) {
    EXPECT_EQ("9 toolkit TOOLKIT_MOUSE_PRESS_EVENT data=0,1,0,0 input-value=6",
              rewritten("9 toolkit TOOLKIT_MOUSE_PRESS_EVENT input-value=6 count=-1 os=-1 data=0,1,0,0 "
                        "toolkit-flag=0 time=9"));
}

TEST(RecordingFormatTest, ATypeIsReadByNameAndByNumber) {
    EXPECT_EQ("9 toolkit TOOLKIT_KEY_PRESS_EVENT", rewritten("9 toolkit 300"));
    EXPECT_EQ("9 toolkit 34", rewritten("9 toolkit 34"));
    EXPECT_EQ("9 toolkit -2147483648", rewritten("9 toolkit -2147483648"));
    EXPECT_EQ("9 toolkit 2147483647", rewritten("9 toolkit 2147483647"));
}

TEST(RecordingFormatTest, AKeyOfTheToolkitIsHexadecimalButForNone) {
    EXPECT_EQ("9 toolkit UNKNOWN_EVENT os=0xfffffffe", rewritten("9 toolkit 0 os=0xFFFFFFFE"));
    EXPECT_EQ(-2, read<KX::KXToolkitEvent>("9 toolkit 0 os=0xfffffffe").osKeyCode);
    EXPECT_EQ("9 toolkit UNKNOWN_EVENT", rewritten("9 toolkit 0 os=0xffffffff"));
    EXPECT_EQ("9 toolkit UNKNOWN_EVENT os=0x0", rewritten("9 toolkit 0 os=0x0"));
}

TEST(RecordingFormatTest, SettingsOfOneNumber) {
    EXPECT_EQ("9 set double-press 300", lineOf(9, NumberSetting{KX::KXInputSetting::DoubleKeyPressDuration, 300}));
    EXPECT_EQ("9 set long-press 4294967295",
              lineOf(9, NumberSetting{KX::KXInputSetting::LongKeyPressDuration, 4294967295}));
    EXPECT_EQ("9 set user-factor -2147483648",
              lineOf(9, NumberSetting{KX::KXInputSetting::EncoderUserFactor, INT_MIN}));
    EXPECT_EQ("9 set low-pass 2147483647",
              lineOf(9, NumberSetting{KX::KXInputSetting::EncoderLowPassFactor, INT_MAX}));
    EXPECT_EQ("9 set accept-input on", lineOf(9, NumberSetting{KX::KXInputSetting::AcceptInput, 1}));
    EXPECT_EQ("9 set accept-input off", lineOf(9, NumberSetting{KX::KXInputSetting::AcceptInput, 0}));
    for (const char* const line :
         {"9 set double-press 0", "9 set double-press 4294967295", "9 set long-press 0",
          "9 set long-press 4294967295", "9 set user-factor -2147483648", "9 set user-factor 2147483647",
          "9 set low-pass -1", "9 set low-pass 1000", "9 set accept-input on", "9 set accept-input off"})
        EXPECT_EQ(line, rewritten(line));
}

TEST(RecordingFormatTest, ASpeedTableIsItsRowsAndMayBeEmpty) {
    const SpeedTable table{{{2, 4096}, {100, 1}, {UINT_MAX, 0}}};
    EXPECT_EQ("9 set speed-table 2:4096 100:1 4294967295:0", lineOf(9, table));
    EXPECT_TRUE(isSame(table, read<SpeedTable>("9 set speed-table 2:4096 100:1 4294967295:0")));
    EXPECT_EQ("9 set speed-table", lineOf(9, SpeedTable()));
    EXPECT_TRUE(isSame(SpeedTable(), read<SpeedTable>("9 set speed-table")));
}

TEST(RecordingFormatTest, AKeyMappingIsItsPairsAndMayBeEmpty) {
    const KeyMapping mapping{{{-1, 0}, {0, -1}, {0x1000030, 7}, {INT_MIN, INT_MAX}}};
    const std::string line = "9 set key-mapping 0x80000000=2147483647 0xffffffff=0 0x0=-1 0x1000030=7";
    EXPECT_EQ(line, lineOf(9, mapping));
    EXPECT_TRUE(isSame(mapping, read<KeyMapping>(line)));
    EXPECT_EQ("9 set key-mapping", rewritten("9 set key-mapping"));
}

TEST(RecordingFormatTest, AKeypadIsOneLineWithoutABlankBehindIt) {
    KX::CANRemoteOptions layout = KX::KeyLayout::empty();
    EXPECT_EQ("9 set keypad", lineOf(9, keypadOf(layout)));
    EXPECT_TRUE(isSame(keypadOf(layout), read<Keypad>("9 set keypad")));
    layout.keys[2] = {3, 6, 7, 5, 0x18FF0001, 0};
    EXPECT_EQ("9 set keypad key 3 code 6 byte 7 bit 5 id 18FF0001", lineOf(9, keypadOf(layout)));
    layout.encoderCANId = 0x1FFFFFFF;
    layout.encoderByteIndex = 7;
    layout.encoderLittleEndian = false;
    layout.encoderMask = 0x0FF0;
    layout.encoderUpKeyCode = 5;
    layout.encoderDownKeyCode = 4;
    const std::string line = "9 set keypad key 3 code 6 byte 7 bit 5 id 18FF0001; "
                             "encoder id 1FFFFFFF byte 7 big mask FF0 up 5 down 4";
    EXPECT_EQ(line, lineOf(9, keypadOf(layout)));
    EXPECT_TRUE(isSame(keypadOf(layout), read<Keypad>(line)));
}

TEST(RecordingFormatTest, APassAndTheEndAreAWordEach) {
    EXPECT_EQ("4294967295 pass", lineOf(UINT_MAX, Pass()));
    EXPECT_EQ("0 end", lineOf(0, End()));
    EXPECT_EQ("4294967295 pass", rewritten("4294967295 pass"));
    EXPECT_EQ("0 end", rewritten("0 end"));
}

TEST(RecordingFormatTest, AFrameIsALineOfACANLogWithTheTickAsItsTime) {
    Frame frame{"can0", {}};
    frame.message.canId = 0x98FF0001;
    frame.message.canLength = 2;
    frame.message.canData[0] = 0xAB;
    EXPECT_EQ("(0008933.700000) can0 18FF0001#AB00", lineOf(8933700, frame).erase(1, 3));
    EXPECT_EQ("(0000000000.001000) can0 18FF0001#AB00", lineOf(1, frame));
    EXPECT_EQ("(0004294967.295000) can0 18FF0001#AB00", lineOf(UINT_MAX, frame));
    EXPECT_TRUE(isSame(frame, read<Frame>("(0004294967.295000) can0 18FF0001#AB00")));
    EXPECT_EQ(UINT_MAX, entryOf("(0004294967.295000) can0 18FF0001#AB00").timeMs);
}

TEST(RecordingFormatTest, TheTimeOfAFrameGoesOnWhereTheTickWraps) {
    Entry entry;
    entry.timeMs = 4294967296;
    entry.input = Frame{"can0", {}};
    EXPECT_EQ("(0004294967.296000) can0 000#0000000000000000", format(entry));
    entry.input = Pass();
    EXPECT_EQ("0 pass", format(entry));
    EXPECT_EQ(0U, entry.tick());
}

TEST(RecordingFormatTest, AnEntryThatWasNotReadIsOfNoLine) {
    const Entry entry;
    EXPECT_EQ(0U, entry.timeMs);
    EXPECT_EQ(0U, entry.line);
}

TEST(RecordingFormatTest, ADayThatWasWrittenIsWrittenTheSameAgain) {
    const auto outcome = outcomeOf(KX::Recording::test::dayOfAnOperator());
    ASSERT_EQ("", outcome.error);
    std::string again = "kxrecording 1\n# written by hand\n";
    for (const Entry& entry : outcome.session.entries)
        again += (entry.line == 13 ? "\n" : "") + format(entry) + "\n";
    EXPECT_EQ(KX::Recording::test::dayOfAnOperator(), again);
}

namespace {

// Entries with random content, often at the ends of each range.
class AnyEntries {
public:
    explicit AnyEntries(unsigned int seed) : random(seed) {}

    std::vector<Entry> make(std::size_t count) {
        std::vector<Entry> entries;
        std::uint64_t timeMs = anyUnsigned();
        while (entries.size() < count) {
            entries.push_back({timeMs, anyInput(timeMs), 0});
            timeMs += oneOf<unsigned int>({0, 0, 1, 1, 100, 5000, below(INT_MAX), INT_MAX});
        }
        return entries;
    }

private:
    unsigned int below(unsigned int limit) {
        return std::uniform_int_distribution<unsigned int>(0, limit - 1)(random);
    }

    template<typename Value>
    Value oneOf(std::initializer_list<Value> values) {
        return values.begin()[below(static_cast<unsigned int>(values.size()))];
    }

    unsigned int anyUnsigned() {
        return oneOf<unsigned int>({0, 1, INT_MAX, 0x80000000, UINT_MAX, below(1000), below(UINT_MAX)});
    }

    int anyInt() { return static_cast<int>(anyUnsigned()); }

    Input anyInput(std::uint64_t timeMs) {
        switch (below(8)) {
        case 0: return anyFrame();
        case 1: return anyNumber();
        case 2: return anyTable();
        case 3: return anyMapping();
        case 4: return anyKeypad();
        case 5: return Pass();
        default: return anyEvent(static_cast<unsigned int>(timeMs));
        }
    }

    KX::KXToolkitEvent anyEvent(unsigned int tick) {
        KX::KXToolkitEvent event;
        event.timeStamp = oneOf({tick, tick, anyUnsigned()});
        event.eventClass = oneOf({0, 2, anyInt()});
        event.eventType = oneOf({300, 301, static_cast<int>(below(800)), anyInt()});
        event.keyCode = oneOf({-1, anyInt()});
        event.osKeyCode = oneOf({-1, 0, 0x1000000, anyInt()});
        event.value = oneOf({0, anyInt()});
        event.count = oneOf({-1, anyInt()});
        event.inputValue = oneOf({0, anyInt()});
        event.incidentFlag = below(2) == 0;
        event.toolkitFlag = below(2) == 0;
        for (unsigned int i = 0; i < 4; ++i) {
            event.eventData[i] = oneOf({0U, anyUnsigned()});
            event.inputData[i] = oneOf({0U, anyUnsigned()});
        }
        return event;
    }

    Frame anyFrame() {
        Frame frame{oneOf<const char*>({"can0", "can1", "vcan0", "x"}), {}};
        frame.message.canId = oneOf({below(0x800), 0x80000000 | below(0x20000000), 0x9FFFFFFFU, 0x7FFU});
        frame.message.canLength = below(9);
        for (unsigned int i = 0; i < frame.message.canLength; ++i)
            frame.message.canData[i] = static_cast<unsigned char>(below(256));
        return frame;
    }

    NumberSetting anyNumber() {
        const auto name = static_cast<KX::KXInputSetting>(below(5));
        const bool isUnsigned =
            name == KX::KXInputSetting::DoubleKeyPressDuration || name == KX::KXInputSetting::LongKeyPressDuration;
        if (name == KX::KXInputSetting::AcceptInput)
            return {name, below(2)};
        return {name, isUnsigned ? std::int64_t{anyUnsigned()} : std::int64_t{anyInt()}};
    }

    SpeedTable anyTable() {
        SpeedTable table;
        for (unsigned int rows = below(9); rows > 0; --rows)
            table.rows.push_back({anyUnsigned(), anyUnsigned()});
        return table;
    }

    KeyMapping anyMapping() {
        KeyMapping mapping;
        for (unsigned int pairs = below(9); pairs > 0; --pairs) {
            const int keyCode = anyInt();
            if (mapping.keyCodeOfToolkitKey.emplace(anyInt(), keyCode).second)
                knownCodes.push_back(keyCode);
        }
        return mapping;
    }

    int knownCode() { return knownCodes[below(static_cast<unsigned int>(knownCodes.size()))]; }

    // Each key has its own bit, outside those of the encoder.
    Keypad anyKeypad() {
        KX::CANRemoteOptions layout = KX::KeyLayout::empty();
        for (int i = 0; i < KX::KeyLayout::keyCount; ++i) {
            if (below(3) == 0)
                layout.keys[i] = {
                    i + 1, knownCode(), static_cast<int>(below(8)), static_cast<int>(below(8)), i * 0x1234567, 0};
        }
        if (below(2) == 0) {
            layout.encoderCANId = 0x1FFFFFFF - below(100);
            layout.encoderByteIndex = static_cast<std::uint8_t>(1 + below(6));
            layout.encoderLittleEndian = below(2) == 0;
            layout.encoderMask = oneOf<std::uint32_t>({0xFFFF, 0xF, 0xF000, 0xFF0});
            layout.encoderUpKeyCode = knownCode();
            layout.encoderDownKeyCode = knownCode();
        }
        return keypadOf(layout);
    }

    std::mt19937 random;
    std::vector<int> knownCodes = {0, 1, 2, 3, 4, 5, 6};
};

} // namespace

TEST(RecordingFormatTest, AnythingThatIsWrittenIsReadTheSame) {
    for (unsigned int seed = 1; seed <= 40; ++seed) {
        const std::vector<Entry> entries = AnyEntries(seed).make(250);
        std::string text = "kxrecording 1\n";
        for (const Entry& entry : entries)
            text += format(entry) + "\n";
        const auto outcome = outcomeOf(text);
        ASSERT_EQ("", outcome.error) << "seed " << seed;
        ASSERT_THAT(outcome.warnings, testing::IsEmpty()) << "seed " << seed;
        const std::size_t different = KX::Recording::test::firstDifference(entries, outcome.session.entries);
        ASSERT_EQ(entries.size(), different) << "seed " << seed << ": " << format(entries.at(different));
        for (std::size_t i = 0; i < entries.size(); ++i) {
            ASSERT_EQ(format(entries[i]), format(outcome.session.entries[i])) << "seed " << seed;
            ASSERT_EQ(i + 2, outcome.session.entries[i].line) << "seed " << seed;
        }
    }
}
