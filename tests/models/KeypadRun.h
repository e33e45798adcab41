#pragma once

#include "Complaints.h"
#include "KeypadModel.h"
#include "RandomRun.h"
#include "ScopedStream.h"
#include "input/CANRemoteHandler.h"
#include "input/KXInputEventManager.h"
#include "platform/KXTick.h"
#include "platform/simulated/KXSimulation.h"
#include "support/OffscreenKeys.h"
#include "support/OwnCANBus.h"

#include <algorithm>
#include <array>
#include <iostream>
#include <iterator>
#include <memory>
#include <sstream>

namespace KX::test {

/// Random layouts, often wrong ones, and frames.
class RandomKeypad {
public:
    explicit RandomKeypad(Random& theRandom) : random(theRandom) {}

    KeypadLayoutModel layout() {
        KeypadLayoutModel layout;
        // A correct keypad, or one with bits outside the frame.
        const bool isSound = random.oneIn(2);
        for (KeyLayoutModel& key : layout.keys) {
            key.keyNumber = random.oddInt();
            key.keyCode = keyCode();
            key.byteIndex = isSound ? random.between(0, 7) : random.between(-2, 9);
            key.bitIndex = isSound ? random.between(0, 7) : bitIndex();
            key.canId = static_cast<int>(listenedId());
        }
        layout.upKeyCode = random.oneIn(4) ? keyCode() : 4;
        layout.downKeyCode = random.oneIn(4) ? keyCode() : 5;
        layout.encoderCANId = listenedId();
        layout.encoderByteIndex =
            isSound ? random.between(1, 6) : random.oneOf({0, 1, 6, 7, 8, 9, 127, 128, 254, 255});
        layout.encoderMask = random.oneIn(3) ? 0xFFFF : mask();
        layout.isLittleEndian = random.oneIn(2);
        return layout;
    }

    FrameModel frame(const KeypadLayoutModel& layout, std::int64_t lastPosition) {
        std::size_t wanted = random.below(static_cast<std::uint32_t>(ids.size()));
        for (std::size_t i = 0; i < ids.size(); ++i)
            if (ids[i] == layout.encoderCANId && random.oneIn(3))
                wanted = i;
        FrameModel& frame = lastFrames[wanted];
        frame.canId = ids[wanted] | random.oneOf({0U, 0U, 0x80000000U, 0x40000000U, 0x20000000U, 0xE0000000U});
        if (random.oneIn(30))
            frame.canId = random.word();
        if (random.oneIn(2))
            frame.data[random.below(8)] ^= static_cast<unsigned char>(1U << random.below(8));
        if (random.oneIn(8))
            frame.data[random.below(8)] = static_cast<unsigned char>(random.word());
        if (random.oneIn(2))
            setPosition(frame, layout, position(layout, lastPosition));
        return frame;
    }

    static const std::vector<int>& keyCodes() {
        static const std::vector<int> codes = {0, 1, 2, 3, 4, 5, 6, 7, 8, -3, 65535};
        return codes;
    }

private:
    int keyCode() { return random.oneOf(keyCodes()); }

    int bitIndex() {
        return random.oneOf({0, 1, 6, 7, 8, 9, 31, 32, 63, 64, 254, 255, 256, 257, -1, -8, random.anyInt()});
    }

    std::uint32_t listenedId() {
        const std::uint32_t id = random.oneOf(ids);
        return random.oneIn(16) ? id | 0x80000000U : id; // no frame has it
    }

    std::uint32_t mask() {
        return random.oneOf({0xFFU, 0x0FFFU, 0xFFFFFFFFU, 0x00FF00FFU, 0U, 1U, 8U, 9U, 10U, 20U, 0xFF00U, 0x7FFFU,
                             0x10000U, 0x80000000U, 0x80000008U, 0x80000009U, 0x7FFFFFFFU, random.word()});
    }

    /// Often near the smallest wrap.
    int position(const KeypadLayoutModel& layout, std::int64_t lastPosition) {
        const int last = static_cast<int>(lastPosition);
        const int threshold = static_cast<int>((layout.encoderMask - 9U) & 0xFFFFU) + random.between(-1, 1);
        switch (random.below(6)) {
        case 0: return last + threshold;
        case 1: return last - threshold;
        case 2: return random.oneOf({0, 1, 5, 10, 65525, 65526, 65527, 65533, 65534, 65535});
        case 3: return random.between(0, 65535);
        default: return last + random.between(-12, 12);
        }
    }

    static void setPosition(FrameModel& frame, const KeypadLayoutModel& layout, int position) {
        const int low = layout.encoderByteIndex;
        const int high = layout.isLittleEndian ? low + 1 : low - 1;
        if (low <= 7)
            frame.data[low] = static_cast<unsigned char>(position & 0xFF);
        if (high >= 0 && high <= 7)
            frame.data[high] = static_cast<unsigned char>((position >> 8) & 0xFF);
    }

    Random& random;
    std::vector<std::uint32_t> ids = {0, 1, 0x123, 0x18FF0001, 0x1FFFFFFF};
    std::array<FrameModel, 5> lastFrames;
};

/// What a run has met.
struct KeypadAccount {
    unsigned int turns = 0, wraps = 0, keyChanges = 0, secondLayouts = 0, overBus = 0;
};

/// Several managers in turn, with keypads and frames.
class KeypadRun {
public:
    /// \param source  of Random: a seed, or bytes
    template<class Source>
    KeypadRun(Source source, std::int64_t& theLastPosition, KeypadAccount& theAccount)
        : random(source), keypad(random), lastPosition(theLastPosition), account(theAccount),
          model(&theLastPosition) {
        beginManager();
    }

    ~KeypadRun() { endManager(); }

    KeypadRun(const KeypadRun&) = delete;
    KeypadRun& operator=(const KeypadRun&) = delete;

    /// Empty when library and model agree.
    std::string step(std::string& operation) {
        const std::uint32_t choice = random.below(1000);
        if (choice == 0) {
            operation = "new manager";
            endManager();
            beginManager();
        } else if (choice < 15) {
            return setOptions(operation);
        } else if (choice < 100 && openBuses > 0) {
            sendOverBus(operation);
        } else if (choice < 150) {
            operation = "failing read";
            handler->onEndPointReadable(&bus, nullptr);
        } else {
            sendDirectly(operation);
        }
        return differences();
    }

    /// Whether the bytes of the source are used up.
    bool isAtEnd() const { return random.isAtEnd(); }

private:
    void beginManager() {
        KXSimulation::reset();
        KXSimulation::setDebugLevel(0);
        manager = KXInputEventManager::createInstance();
        manager->setKeyMapping({{0x41, 7}, {0x42, 8}, {0x43, -3}, {0x44, 65535}});
        handler = std::make_unique<CANRemoteHandler>(manager);
        model = KeypadModel(&lastPosition);
        openBuses = 0;
        layouts = 0;
    }

    void endManager() {
        account.turns += model.turns;
        account.wraps += model.wraps;
        account.keyChanges += model.keyChanges;
        handler.reset();
        KXInputEventManager::deleteInstance();
    }

    std::string setOptions(std::string& operation) {
        const KeypadLayoutModel layout = keypad.layout();
        CANRemoteOptions options = optionsOf(layout);
        options.enabled = random.oneIn(6) && openBuses < 3;
        options.endPointSetting = static_cast<std::uint8_t>(random.below(3));
        const bool isRefused = random.oneIn(4);
        KXSimulation::refuseCANBuses(options.enabled && isRefused ? 1 : 0);
        operation = std::string(options.enabled ? "enabled" : "disabled") + " layout";
        const unsigned int living = KXSimulation::getLivingObjects();
        const int settingBefore = KXSimulation::getCANSetting(0);

        const int status = manager->setCANRemoteOptions(options);
        model.take(layout);
        if (options.enabled)
            model.output += "KXInputEventManager::setRask44options: 44 enabled\n";
        const bool isOpened = options.enabled && !isRefused;
        openBuses += isOpened;
        account.secondLayouts += ++layouts > 1;
        return complaint("status", "0", std::to_string(status)) +
               complaint("platform objects", std::to_string(living + isOpened),
                         std::to_string(KXSimulation::getLivingObjects())) +
               complaint("setting of the bus", std::to_string(isOpened ? options.endPointSetting : settingBefore),
                         std::to_string(KXSimulation::getCANSetting(0))) +
               differences();
    }

    CANRemoteOptions optionsOf(const KeypadLayoutModel& layout) {
        CANRemoteOptions options;
        for (std::size_t i = 0; i < 16; ++i) {
            const KeyLayoutModel& key = layout.keys[i];
            options.keys[i] = {key.keyNumber, key.keyCode, key.byteIndex,
                               key.bitIndex,  key.canId,   static_cast<int>(random.below(2))};
        }
        if (random.oneIn(4)) // the manager ignores the caller's index
            options.keyIndex.emplace(options.keys[0].canId, &options.keys[0]);
        options.encoderUpKeyCode = layout.upKeyCode;
        options.encoderDownKeyCode = layout.downKeyCode;
        options.encoderCANId = layout.encoderCANId;
        options.encoderByteIndex = static_cast<std::uint8_t>(layout.encoderByteIndex);
        options.encoderMask = layout.encoderMask;
        options.encoderLittleEndian = layout.isLittleEndian;
        return options;
    }

    KXCANMessage nextFrame(std::string& operation) {
        const FrameModel frame = keypad.frame(model.layout, lastPosition);
        KXCANMessage message;
        message.canId = frame.canId;
        std::copy(std::begin(frame.data), std::end(frame.data), message.canData);
        std::ostringstream told;
        told << "frame " << std::hex << frame.canId << '#';
        for (const int byte : frame.data)
            told << ' ' << byte;
        operation = told.str() + " with encoder " + std::to_string(model.layout.encoderCANId) + " at byte " +
                    std::to_string(model.layout.encoderByteIndex) + ", mask " +
                    std::to_string(model.layout.encoderMask);
        model.decode(frame);
        return message;
    }

    void sendDirectly(std::string& operation) {
        bus.frames.push_back(nextFrame(operation));
        handler->onEndPointReadable(&bus, nullptr);
    }

    void sendOverBus(std::string& operation) {
        for (unsigned int frames = random.below(3) + 1; frames > 0; --frames) {
            KXSimulation::scheduleCANFrame(0, KXTick::getTickCount() + frames % 2, nextFrame(operation));
            KXSimulation::advance(random.below(4) + 1);
        }
        ++account.overBus;
    }

    std::string differences() {
        std::ostringstream expected;
        for (const KeyModelEvent& event : std::exchange(model.events, {}))
            expected << ToolkitKey{event.isPress, KXInputEventManager::getKXtoOSCodeMap()->at(event.keyCode)}
                     << "; ";
        std::ostringstream actual;
        for (const ToolkitKey& key : window.take())
            actual << key << "; ";
        return complaint("lines", std::exchange(model.output, ""), lines.take()) +
               complaint("complaints", "", errors.take()) + complaint("keys", expected.str(), actual.str());
    }

    Random random;
    RandomKeypad keypad;
    std::int64_t& lastPosition;
    KeypadAccount& account;
    KeypadModel model;
    KeyRecorder window;
    ScopedStream lines{std::cout};
    ScopedStream errors{std::cerr};
    KXInputEventManager* manager = nullptr;
    std::unique_ptr<CANRemoteHandler> handler;
    OwnCANBus bus;
    unsigned int openBuses = 0;
    unsigned int layouts = 0;
};

} // namespace KX::test
