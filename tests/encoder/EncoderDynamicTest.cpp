#include "encoder/KXEncoderDynamic.h"
#include "events/KXEvent.h"
#include "events/KXEventType.h"
#include "platform/simulated/KXSimulation.h"

#include <gtest/gtest.h>

#include <climits>

namespace KX {

bool operator==(const KXEncoderDynamicPair& left, const KXEncoderDynamicPair& right) {
    return left.timeGap == right.timeGap && left.increment == right.increment;
}

namespace {

using Table = std::vector<KXEncoderDynamicPair>;

const Table defaultTable = {{2, 4096}, {8, 1024}, {12, 256}, {20, 64}, {35, 16}, {55, 4}, {100, 1}};
const std::string negativeGap = "Can not calculate encoder dynamics for negative time gap.";

class Encoder : public testing::Test {
protected:
    void SetUp() override {
        KXSimulation::reset();
        encoder = KXEncoderDynamic::instance();
    }

    void TearDown() override { delete encoder; }

    // Passes one step of the knob and returns its increment.
    int turn(unsigned int timeStamp, int count = 1) {
        KXInputEvent step;
        step.eventType = ENCODER_MOVE_EVENT;
        step.timeStamp = timeStamp;
        step.count = count;
        KXInputEvent bundle;
        status = encoder->calculateIncrement(step, bundle);
        countAfter = step.count;
        return bundle.value;
    }

    KXEncoderDynamic* encoder = nullptr;
    int status = -1;
    int countAfter = -1;
};

TEST_F(Encoder, default_tables_are_paired_by_index) {
    for (std::size_t i = 0; i < defaultTable.size(); ++i) {
        EXPECT_EQ(static_cast<unsigned int>(DEFAULT_TIME_GAPS[i]), defaultTable[i].timeGap);
        EXPECT_EQ(static_cast<unsigned int>(DEFAULT_INCREMENTS[i]), defaultTable[i].increment);
    }
}

TEST_F(Encoder, instance_starts_with_the_defaults) {
    EXPECT_EQ(encoder->getUserFactor(), 1000);
    EXPECT_EQ(encoder->getLowPassFactor(), 900);
    EXPECT_EQ(encoder->getTimeGap(), 200);
    EXPECT_EQ(encoder->getLastTimeStamp(), 0U);
    EXPECT_EQ(encoder->getDynamicParameters(), defaultTable);
}

TEST_F(Encoder, instance_is_one_until_it_is_deleted_and_then_a_fresh_one) {
    EXPECT_EQ(KXEncoderDynamic::instance(), encoder);
    encoder->setUserFactor(7);
    delete encoder;
    encoder = KXEncoderDynamic::instance();
    EXPECT_EQ(encoder->getUserFactor(), 1000);
}

TEST(EncoderConstruction, leaves_another_state_than_initialize) {
    KXEncoderDynamic encoder;
    EXPECT_EQ(encoder.getUserFactor(), 1000);
    EXPECT_EQ(encoder.getLowPassFactor(), 500);
    EXPECT_EQ(encoder.getTimeGap(), 100);
    EXPECT_EQ(encoder.getDynamicParameters(), Table(10, KXEncoderDynamicPair{0, 0}));
    EXPECT_EQ(encoder.initialize(), 0);
    EXPECT_EQ(encoder.getDynamicParameters(), defaultTable);
}

TEST_F(Encoder, initialize_brings_the_defaults_back) {
    encoder->setDynamicParameters({{1, 1}});
    encoder->setLowPassFactor(1);
    encoder->setUserFactor(1);
    turn(10);
    EXPECT_EQ(encoder->initialize(), 0);
    EXPECT_EQ(encoder->getDynamicParameters(), defaultTable);
    EXPECT_EQ(encoder->getLowPassFactor(), 900);
    EXPECT_EQ(encoder->getUserFactor(), 1000);
    EXPECT_EQ(encoder->getTimeGap(), 200);
    EXPECT_EQ(encoder->getLastTimeStamp(), 0U);
}

TEST_F(Encoder, a_first_step_of_10_ms_counts_one) {
    EXPECT_EQ(turn(10), 1);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(encoder->getTimeGap(), 105);
    EXPECT_EQ(encoder->getLastTimeStamp(), 10U);
}

TEST_F(Encoder, quick_steps_pull_the_step_time_down_by_halves_and_the_increment_up) {
    // gap 4: (4 + 200) / 2 = 102, 53, 28, 16, 10, 7, 5, 4, 4; by hand:
    const struct {
        int timeGap, increment;
    } expected[] = {{102, 1}, {53, 3}, {28, 14}, {16, 59}, {10, 236}, {7, 945}, {5, 1016}, {4, 1023}, {4, 1023}};
    unsigned int now = 0;
    for (const auto& step : expected) {
        EXPECT_EQ(turn(now += 4), step.increment);
        EXPECT_EQ(encoder->getTimeGap(), step.timeGap);
    }
}

TEST_F(Encoder, each_range_of_step_times_has_its_increment) {
    // Without the low pass, a step of g ms keeps a smoothed time of g.
    const struct {
        unsigned int gap;
        int increment;
    } cases[] = {{1, 4096}, {2, 1024}, {7, 1024}, {8, 256}, {11, 256}, {12, 64}, {19, 64},
                 {20, 16},  {34, 16},  {35, 4},   {54, 4},  {55, 1},   {99, 1}};
    for (const auto& test : cases) {
        encoder->initialize();
        encoder->setLowPassFactor(1000);
        unsigned int now = 0;
        int increment = 0;
        for (int i = 0; i < 40; ++i)
            increment = turn(now += test.gap);
        EXPECT_EQ(encoder->getTimeGap(), static_cast<int>(test.gap));
        EXPECT_EQ(increment, test.increment) << "step time " << test.gap;
    }
}

TEST_F(Encoder, other_events_are_refused_and_change_nothing) {
    KXInputEvent key;
    key.eventType = KEY_PRESS_EVENT;
    key.timeStamp = 10;
    key.count = 0;
    KXInputEvent bundle;
    EXPECT_EQ(encoder->calculateIncrement(key, bundle), 29);
    EXPECT_EQ(key.count, 0);
    EXPECT_EQ(bundle.value, 0);
    EXPECT_EQ(encoder->getLastTimeStamp(), 0U);
}

TEST_F(Encoder, a_step_at_the_same_tick_or_before_is_reported_and_adds_nothing) {
    turn(100);
    for (const unsigned int timeStamp : {100U, 99U}) {
        EXPECT_EQ(turn(timeStamp), 0);
        EXPECT_EQ(status, 1);
        EXPECT_EQ(encoder->getLastTimeStamp(), timeStamp);
    }
    const auto messages = KXSimulation::takeDebugMessages();
    ASSERT_EQ(messages.size(), 2U);
    for (const auto& message : messages) {
        EXPECT_EQ(message.level, 1);
        EXPECT_EQ(message.section, "kx_encoder_dynamic");
        EXPECT_EQ(message.text, negativeGap);
    }
    turn(100);
    EXPECT_EQ(status, 0) << "one above";
}

TEST_F(Encoder, a_first_step_at_tick_zero_is_not_later_than_the_start) {
    turn(0);
    EXPECT_EQ(status, 1);
}

TEST_F(Encoder, a_refused_step_keeps_its_count) {
    turn(0, 0);
    EXPECT_EQ(status, 1);
    EXPECT_EQ(countAfter, 0);
}

TEST_F(Encoder, a_step_without_a_count_is_one_step_and_says_so) {
    EXPECT_EQ(turn(10, 0), 1);
    EXPECT_EQ(countAfter, 1);
}

TEST_F(Encoder, several_steps_share_the_elapsed_time) {
    turn(100);
    turn(140, 4);
    EXPECT_EQ(encoder->getTimeGap(), (10 + 150) / 2);
}

TEST_F(Encoder, after_a_pause_longer_than_the_limit_it_starts_again_from_one) {
    for (const unsigned int pause : {199U, 200U, 201U}) {
        encoder->initialize();
        unsigned int now = 0;
        for (int i = 0; i < 20; ++i)
            turn(now += 4);
        EXPECT_EQ(encoder->getTimeGap(), 4);
        const int increment = turn(now += pause);
        const bool restarted = pause > 200;
        EXPECT_EQ(encoder->getTimeGap(), restarted ? 200 : static_cast<int>((pause + 4) / 2)) << pause;
        EXPECT_EQ(increment, restarted ? 1 : 103) << pause; // else (1023 * 100 + 1 * 900) / 1000
    }
}

TEST_F(Encoder, a_table_whose_gaps_do_not_rise_is_refused_but_lengthens_the_pause) {
    for (const Table& table : {Table{{10, 1}, {10, 2}}, Table{{10, 1}, {9, 2}}, Table{{1, 1}, {5, 1}, {5, 1}}}) {
        encoder->initialize();
        EXPECT_EQ(encoder->setDynamicParameters(table), 3);
        EXPECT_EQ(encoder->getDynamicParameters(), defaultTable);
        turn(500);
        EXPECT_EQ(encoder->getTimeGap(), 350) << "500 ms is no pause";
        turn(1001);
        EXPECT_EQ(encoder->getTimeGap(), 500) << "501 ms is";
    }
}

TEST_F(Encoder, a_table_sets_the_pause_to_twice_its_last_gap) {
    EXPECT_EQ(encoder->setDynamicParameters({{5, 100}, {40, 7}}), 0);
    EXPECT_EQ(encoder->getDynamicParameters(), (Table{{5, 100}, {40, 7}}));
    turn(80);
    EXPECT_EQ(encoder->getTimeGap(), 140) << "80 ms is no pause";
    turn(161);
    EXPECT_EQ(encoder->getTimeGap(), 80) << "81 ms is";
}

TEST_F(Encoder, tables_of_one_row_and_none_are_taken_as_they_are) {
    encoder->setLowPassFactor(1000);
    EXPECT_EQ(encoder->setDynamicParameters({{1000, 9}}), 0);
    EXPECT_EQ(turn(500), 9);
    EXPECT_EQ(encoder->getTimeGap(), 350) << "the pause is 500 ms";
    EXPECT_EQ(encoder->setDynamicParameters({}), 0);
    EXPECT_EQ(turn(501), 1);
    EXPECT_TRUE(encoder->getDynamicParameters().empty());
}

TEST_F(Encoder, gaps_above_the_range_of_int_rise_too) {
    EXPECT_EQ(encoder->setDynamicParameters({{0x7FFFFFFF, 5}, {0x80000000U, 6}}), 0);
    EXPECT_EQ(encoder->setDynamicParameters({{0x80000000U, 5}, {0x7FFFFFFF, 6}}), 3);
}

TEST_F(Encoder, low_pass_factor_is_1_to_1000) {
    for (const int refused : {0, -1, 1001, INT_MIN, INT_MAX}) {
        EXPECT_EQ(encoder->setLowPassFactor(refused), 24) << refused;
        EXPECT_EQ(encoder->getLowPassFactor(), 900);
    }
    for (const int accepted : {1, 2, 999, 1000}) {
        EXPECT_EQ(encoder->setLowPassFactor(accepted), 0) << accepted;
        EXPECT_EQ(encoder->getLowPassFactor(), accepted);
    }
}

TEST_F(Encoder, user_factor_is_above_zero) {
    for (const int refused : {0, -1, INT_MIN}) {
        EXPECT_EQ(encoder->setUserFactor(refused), 24) << refused;
        EXPECT_EQ(encoder->getUserFactor(), 1000);
    }
    for (const int accepted : {1, 2, INT_MAX}) {
        EXPECT_EQ(encoder->setUserFactor(accepted), 0) << accepted;
        EXPECT_EQ(encoder->getUserFactor(), accepted);
    }
}

TEST_F(Encoder, low_pass_1000_follows_the_table_at_once) {
    encoder->setLowPassFactor(1000);
    encoder->setDynamicParameters({{1000, 77}, {2000, 5}});
    EXPECT_EQ(turn(10), 77);
}

TEST_F(Encoder, user_factor_scales_and_never_gives_zero) {
    encoder->setLowPassFactor(1000);
    encoder->setDynamicParameters({{1000, 77}, {2000, 5}});
    encoder->setUserFactor(2500);
    EXPECT_EQ(turn(10), 192);
    encoder->setUserFactor(1);
    EXPECT_EQ(turn(20), 1);
}

TEST_F(Encoder, adds_to_what_the_bundle_has_and_may_be_given_one_event_twice) {
    KXInputEvent step;
    step.eventType = ENCODER_MOVE_EVENT;
    step.timeStamp = 10;
    step.count = 1;
    step.value = 41;
    EXPECT_EQ(encoder->calculateIncrement(step, step), 0);
    EXPECT_EQ(step.value, 42);
}

TEST_F(Encoder, products_wrap_at_32_bits) {
    encoder->setLowPassFactor(1000);
    encoder->setDynamicParameters({{1000, 0xFFFFFFFFU}, {2000, 5}});
    // 0xFFFFFFFF * 1 * 1000 wraps to 0xFFFFFC18, a thousandth of which is 4294966, and times 1000 fits again.
    EXPECT_EQ(turn(10), 4294966);
    encoder->setUserFactor(INT_MAX);
    // 2147483647 * 4294966 wraps to 0xFFBE76CA (or its half range): computed in 64 bits and cut.
    const std::uint64_t product = 2147483647ULL * 4294966ULL;
    EXPECT_EQ(turn(20), static_cast<int>(static_cast<std::uint32_t>(product) / 1000));
}

TEST_F(Encoder, the_sum_in_the_bundle_wraps) {
    KXInputEvent step;
    step.eventType = ENCODER_MOVE_EVENT;
    step.timeStamp = 10;
    step.count = 1;
    step.value = INT_MAX;
    EXPECT_EQ(encoder->calculateIncrement(step, step), 0);
    EXPECT_EQ(step.value, INT_MIN);
}

TEST_F(Encoder, a_negative_count_is_taken_as_the_unsigned_number_it_is) {
    turn(100);
    turn(300, -1);
    EXPECT_EQ(encoder->getTimeGap(), (0 + 150) / 2) << "200 ms over 4294967295 steps";
}

TEST_F(Encoder, across_the_wrap_of_the_tick_one_step_is_lost_and_the_next_counts) {
    turn(0xFFFFFFFFU);
    EXPECT_EQ(status, 0);
    turn(5);
    EXPECT_EQ(status, 1) << "smaller than the last time stamp";
    turn(9);
    EXPECT_EQ(status, 0);
}

} // namespace
} // namespace KX
