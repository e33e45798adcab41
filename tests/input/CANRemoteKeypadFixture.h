#pragma once

#include "input/CANRemoteHandler.h"
#include "input/KXInputEventManager.h"
#include "platform/KXCANMessage.h"
#include "platform/simulated/KXSimulation.h"
#include "tests/support/OffscreenKeys.h"
#include "tests/support/OwnCANBus.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <iostream>
#include <memory>
#include <string>

namespace KX::test {

constexpr std::uint32_t encoderId = 0x18FF0100;
constexpr int keyId = 0x18FF0001;

/// Gives frames to a handler by hand, on a bus of the test's own, with a layout that is not enabled. Sixteen keys
/// that nobody has described would be those of identifier 0, so they are moved out of the way.
class CANRemoteKeypad : public testing::Test {
protected:
    void SetUp() override {
        KXSimulation::reset();
        manager = KXInputEventManager::createInstance();
        handler = std::make_unique<CANRemoteHandler>(manager);
        options.encoderCANId = encoderId;
        for (KeyOptionsCANRemote& key : options.keys)
            key.canId = -1;
    }

    void TearDown() override {
        handler.reset();
        KXInputEventManager::deleteInstance();
    }

    KeyOptionsCANRemote& describeKey(std::size_t place, int keyNumber, int byteIndex, int bitIndex) {
        options.keys[place] = {keyNumber, 1, byteIndex, bitIndex, keyId, 0};
        return options.keys[place];
    }

    static KXCANMessage frame(std::uint32_t canId, std::initializer_list<int> data) {
        KXCANMessage message;
        message.canId = canId;
        std::size_t place = 0;
        for (const int byte : data)
            message.canData[place++] = static_cast<unsigned char>(byte);
        return message;
    }

    static KXCANMessage encoderFrame(int position) {
        return frame(encoderId, {position & 0xFF, position >> 8});
    }

    /// What the frame makes the handler write.
    std::string give(const KXCANMessage& message) {
        bus.frames.push_back(message);
        return readable();
    }

    std::string readable() {
        testing::internal::CaptureStdout();
        handler->onEndPointReadable(&bus, nullptr);
        std::cout.flush();
        return testing::internal::GetCapturedStdout();
    }

    int set(int expectedStatus = 0, const std::string& expectedOutput = "") {
        testing::internal::CaptureStdout();
        const int status = manager->setCANRemoteOptions(options);
        std::cout.flush();
        EXPECT_EQ(testing::internal::GetCapturedStdout(), expectedOutput);
        EXPECT_EQ(status, expectedStatus);
        return status;
    }

    /// The last position outlives every keypad: a test that needs a certain one begins with this.
    void encoderStandsAt(int position) {
        give(encoderFrame(position));
        window.take();
    }

    KXInputEventManager* manager = nullptr;
    std::unique_ptr<CANRemoteHandler> handler;
    CANRemoteOptions options;
    OwnCANBus bus;
    KeyRecorder window;
};

} // namespace KX::test
