#include "tests/support/OperatorTest.h"

#include <gtest/gtest.h>

namespace KX {
namespace {

class KeyCodes : public test::OperatorTest {
protected:
    void SetUp() override {
        // This table outlives managers, so it may have entries of an earlier test.
        KXInputEventManager::getKXtoOSCodeMap()->clear();
        OperatorTest::SetUp();
    }

    int keyCodeOf(int qtKey) {
        operatorReleases(qtKey);
        return manager->hasEvents() ? manager->getNextEvent().keyCode : swallowed;
    }

    // Releases of the two step keys are never posted.
    static constexpr int swallowed = -99;

    const std::map<int, int>& wayBack = *KXInputEventManager::getKXtoOSCodeMap();
};

const std::map<int, int> defaultWayBack = {{0, 0x01000000}, {1, 0x01000010}, {2, 0x01000001}, {3, 0x01000004},
                                           {4, 0x01000013}, {5, 0x01000015}, {6, 0x01000011}};

TEST_F(KeyCodes, map_seven_toolkit_keys_by_default) {
    EXPECT_EQ(keyCodeOf(Qt::Key_Escape), 0);
    EXPECT_EQ(keyCodeOf(Qt::Key_Home), 1);
    EXPECT_EQ(keyCodeOf(Qt::Key_Tab), 2);
    EXPECT_EQ(keyCodeOf(Qt::Key_Return), 3);
    EXPECT_EQ(keyCodeOf(Qt::Key_Up), swallowed);
    EXPECT_EQ(keyCodeOf(Qt::Key_Down), swallowed);
    EXPECT_EQ(keyCodeOf(Qt::Key_End), 6);
    operatorPresses(Qt::Key_Up);
    EXPECT_EQ(manager->getNextEvent().keyCode, 4);
}

TEST_F(KeyCodes, map_back_to_the_seven_toolkit_keys) {
    EXPECT_EQ(wayBack, defaultWayBack);
}

TEST_F(KeyCodes, of_an_unmapped_key_is_65535) {
    EXPECT_EQ(keyCodeOf(Qt::Key_A), 65535);
    EXPECT_EQ(keyCodeOf(0), 65535);
    EXPECT_EQ(keyCodeOf(-1), 65535);
}

TEST_F(KeyCodes, added_ones_work_both_ways_and_keep_the_defaults) {
    EXPECT_EQ(manager->setKeyMapping({{Qt::Key_F1, 7}}), 0);
    EXPECT_EQ(keyCodeOf(Qt::Key_F1), 7);
    EXPECT_EQ(keyCodeOf(Qt::Key_Escape), 0);
    std::map<int, int> expected = defaultWayBack;
    expected[7] = Qt::Key_F1;
    EXPECT_EQ(wayBack, expected);
}

TEST_F(KeyCodes, an_empty_mapping_changes_nothing) {
    EXPECT_EQ(manager->setKeyMapping({}), 0);
    EXPECT_EQ(wayBack, defaultWayBack);
    EXPECT_EQ(keyCodeOf(Qt::Key_End), 6);
}

TEST_F(KeyCodes, of_a_remapped_key_keeps_the_old_way_back) {
    EXPECT_EQ(manager->setKeyMapping({{0x01000013, 9}}), 0);
    EXPECT_EQ(keyCodeOf(Qt::Key_Up), 9);
    EXPECT_EQ(wayBack.at(9), 0x01000013);
    EXPECT_EQ(wayBack.at(4), 0x01000013);
}

TEST_F(KeyCodes, shared_by_two_keys_lead_back_to_the_greater) {
    EXPECT_EQ(manager->setKeyMapping({{0x50, 8}, {0x41, 8}}), 0);
    EXPECT_EQ(keyCodeOf(0x41), 8);
    EXPECT_EQ(keyCodeOf(0x50), 8);
    EXPECT_EQ(wayBack.at(8), 0x50);
}

TEST_F(KeyCodes, the_way_back_outlives_the_manager_and_the_way_in_does_not) {
    manager->setKeyMapping({{Qt::Key_F1, 7}, {Qt::Key_F2, 6}});
    KXInputEventManager::deleteInstance();
    EXPECT_EQ(wayBack.at(7), Qt::Key_F1);
    EXPECT_EQ(wayBack.at(6), Qt::Key_F2);
    manager = KXInputEventManager::createInstance();
    EXPECT_EQ(keyCodeOf(Qt::Key_F1), 65535);
    EXPECT_EQ(wayBack.at(7), Qt::Key_F1) << "a new manager removes nothing";
    EXPECT_EQ(wayBack.at(6), Qt::Key_End) << "but puts the defaults back";
}

TEST_F(KeyCodes, initializing_them_again_overwrites_the_default_keys_alone) {
    manager->setKeyMapping({{Qt::Key_Escape, 12}, {Qt::Key_F1, 7}});
    manager->initializeOSCodeToKXCodeMap();
    EXPECT_EQ(keyCodeOf(Qt::Key_Escape), 0);
    EXPECT_EQ(keyCodeOf(Qt::Key_F1), 7);
    EXPECT_EQ(wayBack.at(12), Qt::Key_Escape);
}

TEST_F(KeyCodes, do_not_depend_on_the_keyboard_layout) {
    manager->setKeyboardLayout(1);
    EXPECT_EQ(keyCodeOf(Qt::Key_Home), 1);
    EXPECT_EQ(wayBack, defaultWayBack);
}

} // namespace
} // namespace KX
