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

const ToolkitKey homePress{true, Qt::Key_Home};

/// Passes frames to a handler on the test's own bus, with a layout that is not enabled. Default keys would belong
/// to identifier 0, so they get another one.
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

    static KXCANMessage encoderFrame(int position) { return frame(encoderId, {position & 0xFF, position >> 8}); }

    /// What the handler writes for the frame.
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

    /// Sets the last position, which outlives every keypad.
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
