#include "encoder/KXEncoderDynamic.h"
#include "events/KXEventQueue.h"
#include "events/KXEventQueueAsPipe.h"
#include "tests/support/LineCounts.h"
#include "tests/support/OperatorTest.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>

namespace KX {
namespace {

const std::string secondCreation =
    "Creating new KXInputEventManager instance, but there was already an existing one!\n";

class Manager : public test::OperatorTest {};

TEST_F(Manager, is_created_once_and_says_so_for_each_further_call) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(KXInputEventManager::createInstance(), manager);
    EXPECT_EQ(KXInputEventManager::createInstance(), manager);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), secondCreation + secondCreation);
    EXPECT_EQ(KXInputEventManager::getInstance(), manager);
}

TEST_F(Manager, says_whether_there_is_one) {
    EXPECT_TRUE(KXInputEventManager::hasInstance());
    manager->deinitialize();
    EXPECT_TRUE(KXInputEventManager::hasInstance()) << "it can be initialised again";
    KXInputEventManager::deleteInstance();
    EXPECT_FALSE(KXInputEventManager::hasInstance());
}

TEST_F(Manager, has_a_pipe_queue_that_a_main_loop_can_wait_on) {
    auto* const queue = dynamic_cast<KXEventQueueAsPipe*>(manager->getInputEventsQueue());
    ASSERT_NE(queue, nullptr);
    EXPECT_TRUE(queue->isConnected());
}

TEST_F(Manager, starts_without_events_and_gives_a_default_one) {
    EXPECT_FALSE(manager->hasEvents());
    const KXInputEvent event = manager->getNextEvent();
    EXPECT_EQ(event.eventType, 0);
    EXPECT_EQ(event.keyCode, -1);
    EXPECT_EQ(event.count, -1);
}

TEST_F(Manager, hands_on_what_is_posted_past_the_classification) {
    KXSignal signal;
    signal.eventType = STATE_CHANGED_EVENT;
    signal.value = 5;
    EXPECT_EQ(manager->postToEventQueue(signal), 0);
    EXPECT_TRUE(manager->hasEvents());
    const KXInputEvent taken = manager->getNextEvent();
    EXPECT_EQ(taken.eventClass, 6) << "what was posted, in an input event";
    EXPECT_EQ(taken.eventType, STATE_CHANGED_EVENT);
    EXPECT_EQ(taken.value, 5);
    EXPECT_EQ(taken.keyCode, -1);
}

TEST_F(Manager, passes_every_100_ms_without_input) {
    // With a long-press duration of one pass interval, the long press shows when the pass ran.
    manager->setDoubleKeyPressDuration(0);
    manager->setLongKeyPressDuration(1);
    for (unsigned int pass = 100; pass <= 1000; pass += 100) {
        operatorPresses(Qt::Key_Home);
        manager->getNextEvent();
        timePasses(99);
        expectNothingMore();
        timePasses(1);
        EXPECT_EQ(expectPosted(KEY_LONG_PRESS_EVENT).timeStamp, pass);
    }
}

TEST_F(Manager, skips_the_timer_steps_of_a_pass_whose_lock_fails) {
    operatorPresses(Qt::Key_Home);
    expectPosted(KEY_PRESS_EVENT);
    timePasses(1999);
    KXSimulation::failMutexLocks(1);
    timePasses(1);
    expectNothingMore();
    timePasses(100);
    EXPECT_EQ(expectPosted(KEY_LONG_PRESS_EVENT).timeStamp, 2100U);
}

TEST_F(Manager, deinitialized_drops_posts_and_has_no_events) {
    operatorPresses(Qt::Key_Home);
    manager->deinitialize();
    EXPECT_EQ(manager->getInputEventsQueue(), nullptr);
    EXPECT_FALSE(manager->hasEvents());
    EXPECT_EQ(manager->getNextEvent().eventType, 0);
    KXEvent event;
    EXPECT_EQ(manager->postToEventQueue(event), 0);
    EXPECT_EQ(operatorPresses(Qt::Key_Home), 0) << "classified and dropped";
    EXPECT_EQ(KXSimulation::getLivingObjects(), 0U);
}

TEST_F(Manager, deinitialized_leaves_moves_as_they_come) {
    manager->deinitialize();
    KXInputEvent move;
    move.eventType = ENCODER_MOVE_EVENT;
    move.value = 77;
    EXPECT_EQ(manager->inputEventOccurred(move), 0);
    EXPECT_EQ(move.value, 77);
}

TEST_F(Manager, numbers_each_queue_that_it_makes) {
    const unsigned int first = manager->getInputEventsQueueNumber();
    EXPECT_NE(0U, first);
    manager->initialize();
    EXPECT_EQ(first, manager->getInputEventsQueueNumber()) << "the queue is the same";
    manager->deinitialize();
    EXPECT_EQ(0U, manager->getInputEventsQueueNumber());
    manager->initialize();
    EXPECT_EQ(first + 1, manager->getInputEventsQueueNumber());
    KXInputEventManager::deleteInstance();
    EXPECT_EQ(first + 2, KXInputEventManager::createInstance()->getInputEventsQueueNumber());
}

TEST_F(Manager, deinitialized_twice_is_deinitialized) {
    manager->deinitialize();
    manager->deinitialize();
    EXPECT_EQ(KXSimulation::getLivingObjects(), 0U);
}

TEST_F(Manager, initialized_again_works_again) {
    manager->acceptInput(false);
    manager->deinitialize();
    EXPECT_EQ(manager->initialize(), 0);
    operatorPresses(Qt::Key_Home);
    expectPosted(KEY_PRESS_EVENT);
    timePasses(2000);
    expectPosted(KEY_LONG_PRESS_EVENT);
}

TEST_F(Manager, initialized_twice_is_initialized_once) {
    KXEventQueue* const queue = manager->getInputEventsQueue();
    const unsigned int objects = KXSimulation::getLivingObjects();
    EXPECT_EQ(manager->initialize(), 0);
    EXPECT_EQ(manager->getInputEventsQueue(), queue);
    EXPECT_EQ(KXSimulation::getLivingObjects(), objects);
}

TEST_F(Manager, initialized_twice_has_its_defaults_back) {
    manager->acceptInput(false);
    manager->setLongKeyPressDuration(500);
    manager->setKeyMapping({{Qt::Key_Home, 12}});
    EXPECT_EQ(manager->initialize(), 0);
    operatorPresses(Qt::Key_Home);
    EXPECT_EQ(expectPosted(KEY_PRESS_EVENT).keyCode, 1);
    timePasses(1999);
    expectNothingMore();
    timePasses(100);
    expectPosted(KEY_LONG_PRESS_EVENT);
}

TEST_F(Manager, initialized_again_after_a_refused_thread_has_one) {
    KXInputEventManager::deleteInstance();
    KXSimulation::refuseThreads(1);
    manager = KXInputEventManager::createInstance();
    EXPECT_EQ(manager->initialize(), 0);
    operatorPresses(Qt::Key_Home);
    timePasses(2000);
    expectPosted(KEY_PRESS_EVENT);
    expectPosted(KEY_LONG_PRESS_EVENT);
}

TEST_F(Manager, destroys_the_encoder_dynamics_with_itself) {
    KXEncoderDynamic::instance()->setUserFactor(7);
    KXInputEventManager::deleteInstance();
    manager = KXInputEventManager::createInstance();
    EXPECT_EQ(KXEncoderDynamic::instance()->getUserFactor(), 1000);
}

TEST_F(Manager, without_a_thread_never_sends_a_long_press) {
    KXInputEventManager::deleteInstance();
    KXSimulation::refuseThreads(1);
    manager = KXInputEventManager::createInstance();
    operatorPresses(Qt::Key_Home);
    timePasses(10000);
    expectPosted(KEY_PRESS_EVENT);
    expectNothingMore();
    manager->sendLongPressEvent(KXTick::getTickCount());
    expectPosted(KEY_LONG_PRESS_EVENT);
}

TEST(ManagerLife, deleting_without_an_instance_does_nothing) {
    KXInputEventManager::deleteInstance();
    KXInputEventManager::deleteInstance();
}

TEST(ManagerLife, a_thousand_lives_leave_nothing_behind) {
    KXSimulation::reset();
    for (int life = 0; life < 1000; ++life) {
        KXInputEventManager* const manager = KXInputEventManager::createInstance();
        KXEvent event;
        manager->postToEventQueue(event);
        if (life % 10 == 0)
            KXSimulation::advance(250);
        KXInputEventManager::deleteInstance();
    }
    EXPECT_EQ(KXSimulation::getLivingObjects(), 0U);
}

TEST(ManagerLifeDeathTest, the_first_queue_of_a_process_has_number_1) {
    testing::FLAGS_gtest_death_test_style = "threadsafe"; // runs in a new process, which has made no queue yet
    EXPECT_EXIT(
        {
            KXSimulation::reset();
            const unsigned int number = KXInputEventManager::createInstance()->getInputEventsQueueNumber();
            std::cerr << "number " << number << '\n';
            std::_Exit(0);
        },
        testing::ExitedWithCode(0), "number 1\n");
}

TEST(ManagerLifeDeathTest, asking_for_the_instance_before_it_is_created_aborts) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    test::writeLineCountsWhenAborted();
    EXPECT_EXIT(KXInputEventManager::getInstance(), testing::KilledBySignal(SIGABRT),
                "^KXInputEventManager::getInstance\\(\\) called without creating an KXInputEventManager instance "
                "before.\n"
                "Use KXInputEventManager::createInstance\\(\\) in advance to create one!\n"
                "Aborting...\n");
}

} // namespace
} // namespace KX
