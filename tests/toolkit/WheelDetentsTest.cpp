#include "toolkit/KXWheelDetents.h"

#include <gtest/gtest.h>

#include <climits>

using KX::KXWheelDetents;

TEST(WheelDetentsTest, ADetentIs120EighthsOfADegree) {
    EXPECT_EQ(0, KXWheelDetents().turn(119));
    EXPECT_EQ(1, KXWheelDetents().turn(120));
    EXPECT_EQ(1, KXWheelDetents().turn(121));
    EXPECT_EQ(0, KXWheelDetents().turn(-119));
    EXPECT_EQ(-1, KXWheelDetents().turn(-120));
    EXPECT_EQ(-1, KXWheelDetents().turn(-121));
}

TEST(WheelDetentsTest, FractionsAddUpToDetents) {
    KXWheelDetents wheel;
    int detents = 0;
    for (int turn = 0; turn < 24; ++turn)
        detents += wheel.turn(15);
    EXPECT_EQ(3, detents);
}

TEST(WheelDetentsTest, WhatIsLeftOfADetentCountsForTheNext) {
    KXWheelDetents wheel;
    EXPECT_EQ(1, wheel.turn(200));
    EXPECT_EQ(1, wheel.turn(40));
    EXPECT_EQ(0, wheel.turn(119));
}

TEST(WheelDetentsTest, ATurnToTheSideLosesNothing) {
    for (const int sign : {1, -1}) {
        KXWheelDetents wheel;
        EXPECT_EQ(0, wheel.turn(sign * 60));
        EXPECT_EQ(0, wheel.turn(0));
        EXPECT_EQ(sign, wheel.turn(sign * 60));
    }
}

TEST(WheelDetentsTest, AFastTurnIsSeveralDetentsAtOnce) {
    EXPECT_EQ(4, KXWheelDetents().turn(480));
    EXPECT_EQ(-4, KXWheelDetents().turn(-480));
}

TEST(WheelDetentsTest, TheWidestTurnBehindAPartOfADetentCounts) {
    for (const int sign : {1, -1}) {
        KXWheelDetents wheel;
        EXPECT_EQ(0, wheel.turn(sign * 119));
        // INT_MAX is 17895697 detents and 7 more parts, which make one with those before.
        EXPECT_EQ(sign * 17895698, wheel.turn(sign * INT_MAX));
        EXPECT_EQ(0, wheel.turn(sign * 113));
        EXPECT_EQ(sign, wheel.turn(sign));
    }
    KXWheelDetents wheel;
    EXPECT_EQ(-17895697, wheel.turn(INT_MIN));
    EXPECT_EQ(-1, wheel.turn(-112));
}

TEST(WheelDetentsTest, NoRestDelaysOrHastensAReversal) {
    for (const int sign : {1, -1})
        for (const int rest : {1, 2, 119}) {
            KXWheelDetents wheel;
            EXPECT_EQ(0, wheel.turn(sign * rest));
            EXPECT_EQ(0, wheel.turn(-sign * 119)) << "behind " << sign * rest;
            EXPECT_EQ(-sign, wheel.turn(-sign)) << "behind " << sign * rest;
        }
}

TEST(WheelDetentsTest, TheLeastTurnIsAReversal) {
    for (const int sign : {1, -1}) {
        KXWheelDetents wheel;
        EXPECT_EQ(0, wheel.turn(sign * 110));
        EXPECT_EQ(0, wheel.turn(-sign));
        EXPECT_EQ(-sign, wheel.turn(-sign * 119)) << "behind " << sign * 110;
    }
}

TEST(WheelDetentsTest, AReversalStartsAnew) {
    KXWheelDetents wheel;
    EXPECT_EQ(0, wheel.turn(110));
    EXPECT_EQ(-1, wheel.turn(-120));
    EXPECT_EQ(0, wheel.turn(-110));
    EXPECT_EQ(1, wheel.turn(120));
}
