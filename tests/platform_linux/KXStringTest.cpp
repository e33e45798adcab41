#include "platform/KXString.h"

#include <gtest/gtest.h>

#include <climits>

namespace {

TEST(KXString, writesADecimalNumberAndNothingElse) {
    EXPECT_EQ(KX::toString(0), "0");
    EXPECT_EQ(KX::toString(7), "7");
    EXPECT_EQ(KX::toString(-1), "-1");
    EXPECT_EQ(KX::toString(1000000), "1000000");
    EXPECT_EQ(KX::toString(INT_MAX), "2147483647");
    EXPECT_EQ(KX::toString(INT_MIN), "-2147483648");
}

} // namespace
