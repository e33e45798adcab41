// A call that runs out of memory changes nothing, whichever of its allocations fails.

#include "encoder/KXEncoderDynamic.h"
#include "input/CANRemoteHandler.h"
#include "platform/KXEndPointManager.h"
#include "tests/support/HeapCount.h"
#include "tests/support/OffscreenKeys.h"
#include "tests/support/OperatorTest.h"
#include "tests/support/OwnCANBus.h"

#include <functional>
#include <iostream>
#include <map>
#include <new>
#include <thread>
#include <vector>

namespace KX::test {
namespace {

const auto* const environment = testing::AddGlobalTestEnvironment(new OffscreenApplication);

constexpr int keyId = 0x18FF0001;

/// Makes the call once for each of its allocations, which then fails, and at last with enough memory.
/// \return how many failed
int failEachAllocation(const std::function<void()>& call, const std::function<void()>& expectNoChange) {
    for (int failures = 0;; ++failures) {
        try {
            failingAllocation = heapAllocations + static_cast<unsigned long>(failures) + 1;
            call();
            failingAllocation = 0;
            return failures;
        } catch (const std::bad_alloc&) {
            failingAllocation = 0;
            SCOPED_TRACE(failures);
            expectNoChange();
        }
    }
}

class WithoutMemory : public OperatorTest {
protected:
    int keyCodeOf(int osKeyCode) {
        operatorTaps(osKeyCode);
        const int keyCode = manager->getNextEvent().keyCode;
        manager->getNextEvent();
        return keyCode;
    }

    static KXCANMessage keyFrame(int id, int bits) {
        KXCANMessage frame;
        frame.canId = static_cast<std::uint32_t>(id);
        frame.canData[0] = static_cast<unsigned char>(bits);
        return frame;
    }

    /// What the keypad's handler writes for a frame.
    std::string give(int id, int bits) {
        CANRemoteHandler handler(manager);
        OwnCANBus bus;
        bus.frames.push_back(keyFrame(id, bits));
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        handler.onEndPointReadable(&bus, nullptr);
        testing::internal::GetCapturedStderr(); // there is no window
        std::cout.flush();
        return testing::internal::GetCapturedStdout();
    }

    static CANRemoteOptions layoutWithKeyAt(int id) {
        CANRemoteOptions options;
        for (KeyOptionsCANRemote& key : options.keys)
            key.canId = -1;
        options.keys[0] = {12, 1, 0, 0, id, 0};
        options.encoderUpKeyCode = id;
        return options;
    }
};

TEST_F(WithoutMemory, keys_are_mapped_all_or_none) {
    const std::map<int, int> before = *KXInputEventManager::getKXtoOSCodeMap();
    const std::map<int, int> mapping = {{Qt::Key_A, 70}, {Qt::Key_B, 71}, {Qt::Key_Home, 6}};
    const int failures = failEachAllocation([&] { manager->setKeyMapping(mapping); },
                                            [&] {
                                                EXPECT_EQ(*KXInputEventManager::getKXtoOSCodeMap(), before);
                                                EXPECT_EQ(keyCodeOf(Qt::Key_A), 65535);
                                                EXPECT_EQ(keyCodeOf(Qt::Key_Home), 1);
                                            });
    EXPECT_GE(failures, 6);
    EXPECT_EQ(keyCodeOf(Qt::Key_A), 70);
    EXPECT_EQ(keyCodeOf(Qt::Key_B), 71);
    EXPECT_EQ(keyCodeOf(Qt::Key_Home), 6);
    EXPECT_EQ(KXInputEventManager::getKXtoOSCodeMap()->at(70), Qt::Key_A);
    EXPECT_EQ(KXInputEventManager::getKXtoOSCodeMap()->at(6), Qt::Key_Home);
    *KXInputEventManager::getKXtoOSCodeMap() = before; // the table outlives the manager
}

TEST_F(WithoutMemory, the_speed_table_of_the_encoder_stays_with_its_limit) {
    KXEncoderDynamic& encoder = *KXEncoderDynamic::instance();
    std::vector<KXEncoderDynamicPair> rows; // more than the encoder has had room for
    for (unsigned int timeGap = 1; timeGap <= 150; ++timeGap)
        rows.push_back({timeGap, 1});
    const int failures = failEachAllocation([&] { encoder.setDynamicParameters(rows); },
                                            [&] {
                                                EXPECT_EQ(encoder.getDynamicParameters().size(), 7U);
                                                EXPECT_EQ(encoder.getRestartTimeGap(), 200U);
                                            });
    EXPECT_EQ(failures, 1);
    EXPECT_EQ(encoder.getDynamicParameters().size(), 150U);
    EXPECT_EQ(encoder.setDynamicParameters({{5, 100}, {6, 50}}), 0);
    EXPECT_EQ(encoder.getRestartTimeGap(), 12U);
}

TEST_F(WithoutMemory, the_encoder_is_made_whole_or_not_at_all) {
    KXInputEventManager::deleteInstance();
    const int failures = failEachAllocation([] { KXInputEventManager::createInstance(); },
                                            [] { EXPECT_FALSE(KXInputEventManager::hasInstance()); });
    EXPECT_GE(failures, 5);
    EXPECT_EQ(KXEncoderDynamic::instance()->getDynamicParameters().size(), 7U);
    KXInputEventManager::deleteInstance(); // and its encoder
    const auto makeEncoder = [] {
        delete KXEncoderDynamic::instance();
        KXEncoderDynamic::instance();
    };
    const auto expectWhole = [] { EXPECT_EQ(KXEncoderDynamic::instance()->getDynamicParameters().size(), 7U); };
    EXPECT_GE(failEachAllocation(makeEncoder, expectWhole), 3);
}

TEST_F(WithoutMemory, a_queue_that_is_not_made_takes_no_number) {
    unsigned int failuresOfQueue = 0;
    for (unsigned long failing = 1; failing < 12; ++failing) {
        const unsigned int before = manager->getInputEventsQueueNumber();
        manager->deinitialize();
        failingAllocation = heapAllocations + failing;
        EXPECT_THROW(manager->initialize(), std::bad_alloc) << failing;
        failingAllocation = 0;
        const bool isQueueMade = manager->getInputEventsQueue() != nullptr;
        failuresOfQueue += isQueueMade ? 0 : 1;
        EXPECT_EQ(manager->initialize(), 0);
        EXPECT_EQ(manager->getInputEventsQueueNumber(), before + 1) << failing;
    }
    EXPECT_GE(failuresOfQueue, 2U);
}

TEST_F(WithoutMemory, the_keypad_keeps_its_layout_while_it_is_not_enabled) {
    manager->setCANRemoteOptions(layoutWithKeyAt(keyId));
    const CANRemoteOptions other = layoutWithKeyAt(keyId + 1);
    const int failures = failEachAllocation([&] { manager->setCANRemoteOptions(other); },
                                            [&] {
                                                EXPECT_EQ(give(keyId + 1, 1), "");
                                                EXPECT_EQ(give(keyId, 1), "Key 12, KeyCode: 1, pressed\n");
                                                EXPECT_EQ(give(keyId, 0), "Key 12, KeyCode: 1, released\n");
                                            });
    EXPECT_GE(failures, 16);
    EXPECT_EQ(give(keyId + 1, 1), "Key 12, KeyCode: 1, pressed\n");
}

TEST_F(WithoutMemory, the_keypad_opens_its_bus_with_the_whole_layout_or_not_at_all) {
    CANRemoteOptions options = layoutWithKeyAt(keyId);
    options.enabled = true;
    const unsigned int livingBefore = KXSimulation::getLivingObjects();
    testing::internal::CaptureStdout();
    const int failures = failEachAllocation([&] { manager->setCANRemoteOptions(options); },
                                            [&] { EXPECT_EQ(KXSimulation::getLivingObjects(), livingBefore); });
    EXPECT_GE(failures, 18);
    KXSimulation::scheduleCANFrame(0, 1, keyFrame(keyId, 1));
    timePasses(1);
    std::cout.flush();
    const std::string output = testing::internal::GetCapturedStdout();
    EXPECT_EQ(output.substr(output.rfind('\n', output.size() - 2) + 1), "Key 12, KeyCode: 1, pressed\n");
    KXInputEventManager::deleteInstance();
    KXSimulation::reset(); // the process keeps the keypad's bus
}

TEST_F(WithoutMemory, the_keypad_closes_a_bus_that_nobody_would_read_and_says_so) {
    CANRemoteOptions options = layoutWithKeyAt(keyId);
    options.enabled = true;
    testing::internal::CaptureStdout();
    EXPECT_EQ(manager->setCANRemoteOptions(options), 0);
    const unsigned int livingBefore = KXSimulation::getLivingObjects();
    int status = 0;
    failEachAllocation([&] { status = manager->setCANRemoteOptions(options); }, [] {});
    EXPECT_EQ(status, 20) << "the last allocation is that of the end point";
    EXPECT_EQ(KXSimulation::getLivingObjects(), livingBefore);
    testing::internal::GetCapturedStdout();
    KXInputEventManager::deleteInstance();
    KXSimulation::reset(); // the process keeps the keypad's bus
}

TEST_F(WithoutMemory, an_end_point_is_refused) {
    KXEndPointManager endPoints;
    CANRemoteHandler handler(manager);
    OwnCANBus bus;
    failingAllocation = heapAllocations + 1;
    EXPECT_EQ(endPoints.addEndPoint(&bus, &handler), 20);
    EXPECT_GE(heapAllocations, failingAllocation);
    failingAllocation = 0;
    EXPECT_EQ(endPoints.addEndPoint(&bus, &handler), 0);
    EXPECT_EQ(endPoints.removeEndPoint(&bus), 0);
}

TEST_F(WithoutMemory, a_key_of_the_keypad_comes_with_the_next_frame) {
    KeyRecorder window;
    window.take(); // keys that an earlier test left
    manager->setCANRemoteOptions(layoutWithKeyAt(keyId));
    CANRemoteHandler handler(manager);
    OwnCANBus bus;
    bus.frames = {keyFrame(keyId, 1), keyFrame(keyId, 1)};
    testing::internal::CaptureStderr();
    failingAllocation = heapAllocations + 1;
    handler.onEndPointReadable(&bus, nullptr);
    EXPECT_GE(heapAllocations, failingAllocation);
    failingAllocation = 0;
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "KXInputEventManager: Failed to send the keypad's key 12: std::bad_alloc\n");
    EXPECT_TRUE(window.take().empty());
    handler.onEndPointReadable(&bus, nullptr);
    EXPECT_EQ(window.take(), std::vector<ToolkitKey>({{true, Qt::Key_Home}}));
}

// An exception must not pass through Qt's event loop.
TEST_F(WithoutMemory, a_key_of_another_thread_is_lost_with_a_report) {
    KeyRecorder window;
    window.take(); // keys that an earlier test left
    std::thread([] {
        KXInputEvent event;
        event.eventType = KEY_PRESS_EVENT;
        event.keyCode = 1;
        KXInputEventManager::generateKeyEvent(event);
    }).join();
    testing::internal::CaptureStderr();
    failingAllocation = heapAllocations + 1;
    QCoreApplication::sendPostedEvents();
    failingAllocation = 0;
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "KXInputEventManager: Failed to post a generated key: std::bad_alloc\n");
    EXPECT_TRUE(window.take().empty());
}

} // namespace
} // namespace KX::test
