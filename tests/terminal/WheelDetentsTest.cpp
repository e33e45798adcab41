#include "terminal/session/WheelDetents.h"

#include <gtest/gtest.h>

using namespace Terminal;

TEST(WheelDetentsTest, ADetentIs120EighthsOfADegree) {
    EXPECT_EQ(0, WheelDetents().turn(119));
    EXPECT_EQ(1, WheelDetents().turn(120));
    EXPECT_EQ(1, WheelDetents().turn(121));
    EXPECT_EQ(0, WheelDetents().turn(-119));
    EXPECT_EQ(-1, WheelDetents().turn(-120));
    EXPECT_EQ(-1, WheelDetents().turn(-121));
}

TEST(WheelDetentsTest, FractionsAddUpToDetents) {
    WheelDetents wheel;
    int detents = 0;
    for (int turn = 0; turn < 24; ++turn)
        detents += wheel.turn(15);
    EXPECT_EQ(3, detents);
}

TEST(WheelDetentsTest, WhatIsLeftOfADetentCountsForTheNext) {
    WheelDetents wheel;
    EXPECT_EQ(1, wheel.turn(200));
    EXPECT_EQ(1, wheel.turn(40));
    EXPECT_EQ(0, wheel.turn(119));
}

TEST(WheelDetentsTest, AFastTurnIsSeveralDetentsAtOnce) {
    EXPECT_EQ(4, WheelDetents().turn(480));
    EXPECT_EQ(-4, WheelDetents().turn(-480));
}

TEST(WheelDetentsTest, AReversalStartsAnew) {
    WheelDetents wheel;
    EXPECT_EQ(0, wheel.turn(110));
    EXPECT_EQ(-1, wheel.turn(-120));
    EXPECT_EQ(0, wheel.turn(-110));
    EXPECT_EQ(1, wheel.turn(120));
}
