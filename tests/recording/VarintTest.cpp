// Numbers as a few bytes.

#include "recording/format/Varint.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace {

using namespace KX::Recording;

struct PackedNumber {
    std::uint64_t number;
    std::size_t bytes;
};

} // namespace

TEST(VarintTest, ANumberTakesOneByteForEachSevenBits) {
    for (const PackedNumber& packed :
         {PackedNumber{0, 1}, PackedNumber{1, 1}, PackedNumber{127, 1}, PackedNumber{128, 2}, PackedNumber{129, 2},
          PackedNumber{16383, 2}, PackedNumber{16384, 3}, PackedNumber{4294967295, 5},
          PackedNumber{0x7FFFFFFFFFFFFFFF, 9}, PackedNumber{0x8000000000000000, 10},
          PackedNumber{0xFFFFFFFFFFFFFFFF, 10}}) {
        std::array<std::uint8_t, 11> bytes{};
        const std::uint8_t* const end = packNumber(packed.number, bytes.data());
        EXPECT_EQ(packed.bytes, static_cast<std::size_t>(end - bytes.data())) << packed.number;
        const std::uint8_t* next = bytes.data();
        EXPECT_EQ(packed.number, unpackNumber(next));
        EXPECT_EQ(end, next) << packed.number;
    }
}

TEST(VarintTest, ANumberNearZeroStaysSmallWhateverItsSign) {
    EXPECT_EQ(0U, foldSign(0));
    EXPECT_EQ(1U, foldSign(-1));
    EXPECT_EQ(2U, foldSign(1));
    EXPECT_EQ(3U, foldSign(-2));
    EXPECT_EQ(0xFFFFFFFFFFFFFFFEU, foldSign(INT64_MAX));
    EXPECT_EQ(0xFFFFFFFFFFFFFFFFU, foldSign(INT64_MIN));
    for (const std::int64_t number : {std::int64_t{0}, std::int64_t{-1}, std::int64_t{1}, INT64_MAX, INT64_MIN})
        EXPECT_EQ(number, unfoldSign(foldSign(number)));
}
