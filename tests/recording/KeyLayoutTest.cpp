#include "recording/KXKeyLayout.h"

#include "recording/KXFunctionKeys.h"

#include <gtest/gtest.h>

#include <locale>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>
#include <tuple>
#include <vector>

namespace {

KX::KeyLayout::ToolkitKeys knownCodes() {
    KX::KeyLayout::ToolkitKeys keys;
    for (int keyCode = 0; keyCode <= 15; ++keyCode)
        keys[keyCode] = 0x01000000 + keyCode;
    return keys;
}

KX::CANRemoteOptions read(const std::string& text) {
    std::istringstream input(text);
    return KX::KeyLayout::read(input, "keys.txt", knownCodes());
}

std::string refusal(const std::string& text) {
    try {
        read(text);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "it was accepted";
}

// What the check says about the built-in layout after one change.
template<typename Change>
std::string problemAfter(Change change) {
    KX::CANRemoteOptions layout = KX::KeyLayout::builtIn();
    change(layout);
    const auto problem = KX::KeyLayout::check(layout, knownCodes());
    return problem ? problem->text : "";
}

} // namespace

TEST(KeyLayoutTest, TheBuiltInLayoutHasSixteenKeysInTwoFramesAndPassesTheCheck) {
    const KX::CANRemoteOptions layout = KX::KeyLayout::builtIn();
    EXPECT_TRUE(layout.enabled);
    std::set<int> numbers;
    std::set<int> codes;
    std::set<int> identifiers;
    for (const KX::KeyOptionsCANRemote& key : layout.keys) {
        numbers.insert(key.keyNumber);
        codes.insert(key.keyCode);
        identifiers.insert(key.canId);
    }
    EXPECT_EQ(16U, numbers.size());
    EXPECT_EQ(std::make_tuple(1, 16), std::make_tuple(*numbers.begin(), *numbers.rbegin()));
    EXPECT_EQ(16U, codes.size());
    EXPECT_EQ(2U, identifiers.size());
    EXPECT_EQ("", problemAfter([](auto&) {}));
}

// Recordings and keypads of the project's terminal rely on these places.
const std::string builtInLayout = "key 1 code 0 byte 0 bit 0 id 18FF0001\n"
                                  "key 2 code 1 byte 0 bit 7 id 18FF0001\n"
                                  "key 3 code 2 byte 1 bit 3 id 18FF0001\n"
                                  "key 4 code 3 byte 3 bit 5 id 18FF0001\n"
                                  "key 5 code 4 byte 4 bit 1 id 18FF0001\n"
                                  "key 6 code 5 byte 4 bit 2 id 18FF0001\n"
                                  "key 7 code 6 byte 7 bit 0 id 18FF0001\n"
                                  "key 8 code 15 byte 7 bit 7 id 18FF0001\n"
                                  "key 9 code 7 byte 0 bit 4 id 18FF0002\n"
                                  "key 10 code 8 byte 1 bit 5 id 18FF0002\n"
                                  "key 11 code 9 byte 2 bit 6 id 18FF0002\n"
                                  "key 12 code 10 byte 3 bit 7 id 18FF0002\n"
                                  "key 13 code 11 byte 4 bit 0 id 18FF0002\n"
                                  "key 14 code 12 byte 5 bit 1 id 18FF0002\n"
                                  "key 15 code 13 byte 6 bit 2 id 18FF0002\n"
                                  "key 16 code 14 byte 7 bit 3 id 18FF0002\n"
                                  "encoder id 18FF0003 byte 2 little mask FFFF up 4 down 5\n";

TEST(KeyLayoutTest, TheBuiltInLayoutIsWrittenWithAllItsPlaces) {
    EXPECT_EQ(builtInLayout, KX::KeyLayout::write(KX::KeyLayout::builtIn()));
    EXPECT_EQ("", KX::KeyLayout::write(KX::KeyLayout::empty()));
}

struct Grouping : std::numpunct<char> {
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST(KeyLayoutTest, TheLocaleOfTheProgramDoesNotMatter) {
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Grouping));
    const std::string written = KX::KeyLayout::write(KX::KeyLayout::builtIn());
    const std::string accepted = refusal(written);
    std::locale::global(before);
    EXPECT_EQ(builtInLayout, written);
    EXPECT_EQ("it was accepted", accepted);
}

// Takes the digit 1 for a blank.
struct OtherBlanks : std::ctype<char> {
    OtherBlanks() : std::ctype<char>(kinds()) {}
    static const mask* kinds() {
        static std::vector<mask> kindOf(classic_table(), classic_table() + table_size);
        kindOf['1'] = space;
        return kindOf.data();
    }
};

TEST(KeyLayoutTest, TheBlanksOfTheLocaleDoNotMatter) {
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new OtherBlanks));
    const std::string accepted = refusal(builtInLayout);
    std::locale::global(before);
    EXPECT_EQ("it was accepted", accepted);
}

TEST(KeyLayoutTest, WhatIsWrittenIsReadAgain) {
    const std::string other = "key 16 code 15 byte 7 bit 7 id 1FFFFFFF\n"
                              "encoder id A byte 1 big mask FF0 up 5 down 4\n";
    for (const std::string& text : {builtInLayout, other, std::string()}) {
        EXPECT_EQ(text, KX::KeyLayout::write(read(text)));
        EXPECT_TRUE(read(text).enabled);
    }
}

TEST(KeyLayoutTest, TheTerminalHasTwelveFunctionKeysBehindTheCodesOfTheLibrary) {
    constexpr int toolkitF1 = 0x01000030;
    std::map<int, int> functionKeys;
    std::map<int, int> keyCodes;
    for (int keyCode = 0; keyCode <= 6; ++keyCode)
        keyCodes[keyCode] = keyCode; // any key of the toolkit: every manager has one
    for (int i = 0; i < 12; ++i) {
        functionKeys[toolkitF1 + i] = 7 + i;
        keyCodes[7 + i] = toolkitF1 + i;
    }
    EXPECT_EQ(functionKeys, KX::KeyLayout::functionKeys());
    EXPECT_EQ(keyCodes, KX::KeyLayout::keyCodesOfTerminal());
}

TEST(KeyLayoutTest, AnEntryWithoutAKeyWaitsForAnIdentifierThatNoFrameHas) {
    const KX::CANRemoteOptions layout = read("key 3 code 1 byte 2 bit 3 id 18FF0001\n");
    for (int i = 0; i < KX::KeyLayout::keyCount; ++i) {
        const KX::KeyOptionsCANRemote& key = layout.keys[i];
        EXPECT_EQ(i == 2, KX::KeyLayout::isUsed(key)) << i;
        EXPECT_EQ(i == 2 ? 0x18FF0001 : -1, key.canId) << i;
        EXPECT_EQ(i == 2 ? 1 : 0, key.keyCode) << i;
    }
    EXPECT_FALSE(KX::KeyLayout::hasEncoder(layout));
    EXPECT_GT(layout.encoderCANId, 0x1FFFFFFFU);
}

TEST(KeyLayoutTest, ReadsKeysEncoderAndComments) {
    const KX::CANRemoteOptions layout = read("# the left hand\n\n"
                                             "key 1 code 0 byte 0 bit 0 id 18FF0001 # top\r\n"
                                             "  key 16 id 18ff0001 bit 7 byte 7 code 15\n"
                                             "encoder id 18FF0002 byte 1 big mask 0FF0 up 5 down 4");
    EXPECT_EQ(1, layout.keys[0].keyNumber);
    EXPECT_EQ(0x18FF0001, layout.keys[0].canId);
    const KX::KeyOptionsCANRemote& last = layout.keys[15];
    EXPECT_EQ(std::make_tuple(16, 15, 7, 7, 0x18FF0001),
              std::make_tuple(last.keyNumber, last.keyCode, last.byteIndex, last.bitIndex, last.canId));
    EXPECT_EQ(0x18FF0002U, layout.encoderCANId);
    EXPECT_EQ(1, layout.encoderByteIndex);
    EXPECT_FALSE(layout.encoderLittleEndian);
    EXPECT_EQ(0x0FF0U, layout.encoderMask);
    EXPECT_EQ(std::make_tuple(5, 4), std::make_tuple(layout.encoderUpKeyCode, layout.encoderDownKeyCode));
}

TEST(KeyLayoutTest, TheEncoderNeedsItsIdentifierAndItsByteOnly) {
    const KX::CANRemoteOptions layout = read("encoder byte 6 id 1FFFFFFF");
    EXPECT_TRUE(KX::KeyLayout::hasEncoder(layout));
    EXPECT_TRUE(layout.encoderLittleEndian);
    EXPECT_EQ(0xFFFFU, layout.encoderMask);
    EXPECT_EQ(std::make_tuple(4, 5), std::make_tuple(layout.encoderUpKeyCode, layout.encoderDownKeyCode));
}

TEST(KeyLayoutTest, TellsFileAndLineOfWhatItCannotRead) {
    EXPECT_EQ("keys.txt:2: 'kye' is neither 'key' nor 'encoder'", refusal("\nkye 1"));
    EXPECT_EQ("keys.txt:1: the number of the key is missing", refusal("key"));
    EXPECT_EQ("keys.txt:1: 'one' is not a decimal number that fits", refusal("key one"));
    EXPECT_EQ("keys.txt:1: key 0: its number is not in the range 1 to 16", refusal("key 0"));
    EXPECT_EQ("keys.txt:1: key 17: its number is not in the range 1 to 16", refusal("key 17"));
    EXPECT_EQ("keys.txt:1: 'code' is missing", refusal("key 1"));
    EXPECT_EQ("keys.txt:1: 'id' is missing", refusal("key 1 code 0 byte 0 bit 0"));
    EXPECT_EQ("keys.txt:1: a number is missing after 'bit'", refusal("key 1 code 0 byte 0 bit"));
    EXPECT_EQ("keys.txt:1: '0x1' is not a hexadecimal number that fits", refusal("key 1 id 0x1"));
    EXPECT_EQ("keys.txt:1: '99999999999' is not a decimal number that fits", refusal("key 1 code 99999999999"));
    EXPECT_EQ("keys.txt:1: 'byte' is there twice", refusal("key 1 byte 0 byte 1"));
    EXPECT_EQ("keys.txt:1: 'mask' is nothing that a key has", refusal("key 1 mask 1"));
    EXPECT_EQ("keys.txt:1: 'bit' is nothing that an encoder has", refusal("encoder bit 1"));
    EXPECT_EQ("keys.txt:1: 'id' is missing", refusal("encoder byte 0"));
    EXPECT_EQ("keys.txt:1: it is either 'little' or 'big'", refusal("encoder little big"));
    EXPECT_EQ("keys.txt:1: encoder: identifier FFFFFFFF has more than 29 bits",
              refusal("encoder id FFFFFFFF byte 0"));
    EXPECT_EQ("keys.txt:2: the encoder is there twice", refusal("encoder id 1 byte 0\nencoder id 1 byte 0"));
    EXPECT_EQ("keys.txt:2: key 1: it is there twice",
              refusal("key 1 code 0 byte 0 bit 0 id 1\nkey 1 code 0 byte 0 bit 1 id 1"));
    EXPECT_EQ("keys.txt:1: 'a?b' is neither 'key' nor 'encoder'", refusal("a\033b"));
}

TEST(KeyLayoutTest, RefusesALineThatIsTooLong) {
    const std::string longest = "#" + std::string(1048575, 'x');
    EXPECT_EQ("it was accepted", refusal("# first\n" + longest + "\n"));
    EXPECT_EQ("keys.txt:2: the line is longer than 1048576 characters", refusal("# first\n" + longest + "x\n"));
}

TEST(KeyLayoutTest, TellsTheLineOfTheKeyThatFailsTheCheck) {
    EXPECT_EQ("keys.txt:3: key 1: bit 8 is not in the range 0 to 7",
              refusal("key 2 code 0 byte 0 bit 0 id 1\n#\nkey 1 code 0 byte 0 bit 8 id 1"));
    EXPECT_EQ("keys.txt:1: encoder: the byte of its high half, 8 is not in the range 0 to 7",
              refusal("encoder id 1 byte 7\nkey 1 code 0 byte 0 bit 0 id 1"));
}

TEST(KeyLayoutTest, TellsAFileThatCannotBeOpened) {
    try {
        KX::KeyLayout::readFile("missing/keys.txt", knownCodes());
        FAIL() << "it was read";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ("missing/keys.txt: No such file or directory", error.what());
    }
}

TEST(KeyLayoutCheckTest, RefusesAByteOutsideTheFrame) {
    for (const int byte : {-1, 0, 7, 8}) {
        const bool good = byte >= 0 && byte <= 7;
        EXPECT_EQ(good ? "" : "key 1: byte " + std::to_string(byte) + " is not in the range 0 to 7",
                  problemAfter([&](auto& layout) {
                      layout.keys[0].byteIndex = byte;
                      layout.keys[0].bitIndex = 6; // free in each byte
                  }));
    }
}

TEST(KeyLayoutCheckTest, RefusesABitOutsideTheByte) {
    for (const int bit : {-1, 0, 6, 8}) {
        const bool good = bit >= 0 && bit <= 7;
        EXPECT_EQ(good ? "" : "key 1: bit " + std::to_string(bit) + " is not in the range 0 to 7",
                  problemAfter([&](auto& layout) { layout.keys[0].bitIndex = bit; }));
    }
}

TEST(KeyLayoutCheckTest, RefusesAnIdentifierOfMoreThan29Bits) {
    EXPECT_EQ("", problemAfter([](auto& layout) { layout.keys[0].canId = 0x1FFFFFFF; }));
    EXPECT_EQ("key 1: identifier 20000000 has more than 29 bits",
              problemAfter([](auto& layout) { layout.keys[0].canId = 0x20000000; }));
    EXPECT_EQ("key 1: identifier FFFFFFFF has more than 29 bits",
              problemAfter([](auto& layout) { layout.keys[0].canId = -1; }));
}

TEST(KeyLayoutCheckTest, RefusesAKeyCodeThatTheToolkitHasNoKeyFor) {
    EXPECT_EQ("", problemAfter([](auto& layout) { layout.keys[15].keyCode = 15; }));
    EXPECT_EQ("key 16: code 16 is a key code that the toolkit has no key for",
              problemAfter([](auto& layout) { layout.keys[15].keyCode = 16; }));
    EXPECT_EQ("encoder: up 16 is a key code that the toolkit has no key for",
              problemAfter([](auto& layout) { layout.encoderUpKeyCode = 16; }));
    EXPECT_EQ("encoder: down -1 is a key code that the toolkit has no key for",
              problemAfter([](auto& layout) { layout.encoderDownKeyCode = -1; }));
}

TEST(KeyLayoutCheckTest, RefusesTwoKeysOnOneBitAndTwoKeysOfOneNumber) {
    EXPECT_EQ("key 8: its bit is that of key 1", problemAfter([](auto& layout) {
                  layout.keys[7].byteIndex = layout.keys[0].byteIndex;
                  layout.keys[7].bitIndex = layout.keys[0].bitIndex;
              }));
    EXPECT_EQ("key 1: it is there twice", problemAfter([](auto& layout) { layout.keys[7].keyNumber = 1; }));
    EXPECT_EQ("key 17: its number is not in the range 1 to 16",
              problemAfter([](auto& layout) { layout.keys[7].keyNumber = 17; }));
}

TEST(KeyLayoutCheckTest, RefusesAKeyWithinTheEncodersPosition) {
    const auto keyInByteOfEncoder = [](int byte, int bit) {
        return problemAfter([&](auto& layout) {
            layout.encoderMask = 0x0FFF;
            layout.keys[0].canId = static_cast<int>(layout.encoderCANId);
            layout.keys[0].byteIndex = byte;
            layout.keys[0].bitIndex = bit;
        });
    };
    const std::string taken = "key 1: its bit is one of the encoder's position";
    EXPECT_EQ("", keyInByteOfEncoder(1, 7));
    EXPECT_EQ(taken, keyInByteOfEncoder(2, 0));
    EXPECT_EQ(taken, keyInByteOfEncoder(3, 3));
    EXPECT_EQ("", keyInByteOfEncoder(3, 4));
}

TEST(KeyLayoutCheckTest, AllowsAKeyInABitThatTheMaskLeavesFree) {
    const auto keyInLowByte = [](int bit) {
        return problemAfter([&](auto& layout) {
            layout.encoderMask = 0x7FF0;
            layout.keys[0].canId = static_cast<int>(layout.encoderCANId);
            layout.keys[0].byteIndex = layout.encoderByteIndex;
            layout.keys[0].bitIndex = bit;
        });
    };
    for (int bit = 0; bit <= 7; ++bit)
        EXPECT_EQ(bit < 4 ? "" : "key 1: its bit is one of the encoder's position", keyInLowByte(bit)) << bit;
}

TEST(KeyLayoutCheckTest, RefusesAnEncoderThatLiesPartlyOutsideTheFrame) {
    const auto encoderAt = [](std::uint8_t byte, bool little) {
        return problemAfter([&](auto& layout) {
            layout.encoderByteIndex = byte;
            layout.encoderLittleEndian = little;
        });
    };
    EXPECT_EQ("", encoderAt(0, true));
    EXPECT_EQ("", encoderAt(6, true));
    EXPECT_EQ("encoder: the byte of its high half, 8 is not in the range 0 to 7", encoderAt(7, true));
    EXPECT_EQ("", encoderAt(7, false));
    EXPECT_EQ("encoder: the byte of its high half, -1 is not in the range 0 to 7", encoderAt(0, false));
    EXPECT_EQ("encoder: byte 8 is not in the range 0 to 7", encoderAt(8, false));
}

TEST(KeyLayoutCheckTest, RefusesIdentifiersThatNoEncoderCanHave) {
    EXPECT_EQ("encoder: identifier 0 is never the encoder's",
              problemAfter([](auto& layout) { layout.encoderCANId = 0; }));
    EXPECT_EQ("", problemAfter([](auto& layout) { layout.encoderCANId = 1; }));
    EXPECT_EQ("encoder: identifier 20000000 has more than 29 bits",
              problemAfter([](auto& layout) { layout.encoderCANId = 0x20000000; }));
}

TEST(KeyLayoutCheckTest, RefusesMasksThatTellNoPosition) {
    const auto mask = [](std::uint32_t value) {
        return problemAfter([&](auto& layout) { layout.encoderMask = value; });
    };
    EXPECT_EQ("encoder: mask 7 has less than 4 bits", mask(7));
    EXPECT_EQ("", mask(0xF));
    EXPECT_EQ("", mask(0xF0));
    EXPECT_EQ("encoder: mask E0 has less than 4 bits", mask(0xE0));
    EXPECT_EQ("encoder: mask 1 has less than 4 bits", mask(1));
    EXPECT_EQ("encoder: mask 10000 is not a run of bits within FFFF", mask(0x10000));
    EXPECT_EQ("encoder: mask 0 is not a run of bits within FFFF", mask(0));
    EXPECT_EQ("encoder: mask FF0F is not a run of bits within FFFF", mask(0xFF0F));
    EXPECT_EQ("encoder: mask 1FFFF is not a run of bits within FFFF", mask(0x1FFFF));
}
