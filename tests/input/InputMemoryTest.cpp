// What an observer learns of earlier input that can still change what later input becomes.

#include "encoder/KXEncoderDynamic.h"
#include "input/KXInputObserver.h"
#include "tests/support/OperatorTest.h"

#include <gtest/gtest.h>

namespace KX {
namespace {

constexpr int testedKey = Qt::Key_Home;

class InputMemory : public test::OperatorTest {
protected:
    static KXInputMemory memory() { return KXInputEventManager::getMemory(); }
};

void expectNothing(const KXInputMemory& memory) {
    EXPECT_FALSE(memory.isPressPending);
    EXPECT_FALSE(memory.isBundleOpen);
    EXPECT_FALSE(memory.hasPress);
    EXPECT_EQ(memory.pressTimeStamp, 0U);
    EXPECT_EQ(memory.stepTimeStamp, 0U);
}

TEST_F(InputMemory, is_a_default_one_without_a_manager) {
    operatorPresses(testedKey);
    KXInputEventManager::deleteInstance();
    expectNothing(memory());
    EXPECT_EQ(memory().doublePressMs, 0U);
    EXPECT_EQ(memory().restartGapMs, 0U);
}

TEST_F(InputMemory, of_a_new_manager_has_its_settings_alone) {
    expectNothing(memory());
    EXPECT_EQ(memory().doublePressMs, 300U);
    EXPECT_EQ(memory().restartGapMs, 200U);
    manager->setDoubleKeyPressDuration(250);
    KXEncoderDynamic::instance()->setDynamicParameters({{5, 2}, {40, 1}});
    EXPECT_EQ(memory().doublePressMs, 250U);
    EXPECT_EQ(memory().restartGapMs, 80U);
}

TEST_F(InputMemory, knows_a_press_until_its_release_and_its_time_for_ever) {
    timePasses(7);
    operatorPresses(testedKey);
    EXPECT_TRUE(memory().isPressPending);
    EXPECT_TRUE(memory().hasPress);
    EXPECT_EQ(memory().pressTimeStamp, 7U);
    timePasses(20);
    operatorReleases(testedKey);
    EXPECT_FALSE(memory().isPressPending);
    EXPECT_TRUE(memory().hasPress);
    EXPECT_EQ(memory().pressTimeStamp, 7U);
}

TEST_F(InputMemory, knows_a_long_press_until_its_release) {
    operatorPresses(testedKey);
    timePasses(3000);
    EXPECT_TRUE(memory().isPressPending);
    operatorReleases(testedKey);
    EXPECT_FALSE(memory().isPressPending);
}

TEST_F(InputMemory, knows_an_open_bundle_and_the_last_step) {
    timePasses(1001);
    operatorTaps(Qt::Key_Up);
    EXPECT_TRUE(memory().isBundleOpen);
    EXPECT_EQ(memory().stepTimeStamp, 1001U);
    EXPECT_FALSE(memory().hasPress);
    timePasses(200);
    EXPECT_FALSE(memory().isBundleOpen);
    EXPECT_EQ(memory().stepTimeStamp, 1001U);
}

TEST_F(InputMemory, of_a_manager_that_is_deinitialized_knows_no_encoder) {
    operatorPresses(testedKey);
    manager->deinitialize();
    EXPECT_TRUE(memory().isPressPending);
    EXPECT_EQ(memory().restartGapMs, 0U);
}

} // namespace
} // namespace KX
