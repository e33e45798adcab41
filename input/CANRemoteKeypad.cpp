// The keypad on the CAN bus. Each key becomes a Qt key event for the active window, which treats it like a key of
// a keyboard. From there the toolkit layer hands it to the manager.

#include "input/CANRemoteHandler.h"
#include "input/CANRemoteOptions.h"
#include "input/KXInputEventManager.h"

#include "events/DiagnosticLine.h"
#include "events/KXEventType.h"
#include "input/Observation.h"
#include "input/RunStep.h"
#include "platform/KXCANMessage.h"
#include "platform/KXCANRaw.h"
#include "platform/KXEndPointManager.h"
#include "platform/KXStatus.h"
#include "platform/KXTick.h"

#include <iostream>
#include <iterator>
#include <memory>
#include <utility>

namespace KX {

namespace {

constexpr std::uint32_t extendedIdentifierBits = 0x1FFFFFFF;

// A wrap is recognised if at most so many steps of the encoder lie between two frames.
constexpr std::uint32_t stepsAcrossWrap = 9;

// Applications recognise keys of the keypad by this value.
constexpr int keypadValue = 65535;

// Outlives managers: the knob keeps its position when the application makes a new manager. Only the thread that
// decodes frames uses it.
std::uint16_t lastEncoderPosition = 0;

// A byte outside the frame reads as 0.
unsigned int byteAt(const KXCANMessage& message, int index) {
    return index >= 0 && index < static_cast<int>(std::size(message.canData)) ? message.canData[index] : 0;
}

int bitAt(const KXCANMessage& message, int byteIndex, int bitIndex) {
    const bool isInByte = bitIndex >= 0 && bitIndex < 8;
    return isInByte ? static_cast<int>(byteAt(message, byteIndex) >> bitIndex & 1U) : 0;
}

void generateKey(int eventType, int keyCode, unsigned int now) {
    KXInputEvent event;
    event.eventType = eventType;
    event.timeStamp = now;
    event.value = keypadValue;
    event.keyCode = keyCode;
    KXInputEventManager::generateKeyEvent(event);
}

int encoderPosition(const KXCANMessage& message, const CANRemoteOptions& options) {
    const int lowIndex = options.encoderByteIndex;
    const int highIndex = options.encoderLittleEndian ? lowIndex + 1 : lowIndex - 1;
    const unsigned int position = byteAt(message, lowIndex) | byteAt(message, highIndex) << 8;
    return static_cast<int>(position & options.encoderMask);
}

struct EncoderMove {
    const char* text;
    int keyCode;
};

// The counter wraps at its mask: a leap over nearly all of its range is a small move in the other direction.
EncoderMove encoderMove(int position, int last, const CANRemoteOptions& options) {
    const int smallestLeap = static_cast<int>(options.encoderMask - stepsAcrossWrap);
    if (position > last) {
        if (smallestLeap > position - last)
            return {"ENCODER UP: ", options.encoderUpKeyCode};
        return {"ENCODER DOWN underflow: ", options.encoderDownKeyCode};
    }
    if (smallestLeap > last - position)
        return {"ENCODER DOWN: ", options.encoderDownKeyCode};
    return {"ENCODER UP overflow: ", options.encoderUpKeyCode};
}

void decodeEncoder(const KXCANMessage& message, const CANRemoteOptions& options, unsigned int now) {
    const int last = lastEncoderPosition;
    const int position = encoderPosition(message, options);
    if (position == last)
        return;
    const EncoderMove move = encoderMove(position, last, options);
    writeLine(std::cout, {move.text, position, " (", last, ")"});
    // An encoder or a key whose event fails keeps its state, and the next frame brings the event.
    runStep("send the move of the keypad's encoder", [&] {
        generateKey(ENCODER_MOVE_EVENT, move.keyCode, now);
        lastEncoderPosition = static_cast<std::uint16_t>(position);
    });
}

void decodeKey(const KXCANMessage& message, KeyOptionsCANRemote& key, unsigned int now) {
    const int bit = bitAt(message, key.byteIndex, key.bitIndex);
    if (bit == key.pressed)
        return;
    writeLine(std::cout, {"Key ", key.keyNumber, ", KeyCode: ", key.keyCode, ", ", bit ? "pressed" : "released"});
    runStep("send the keypad's key ", key.keyNumber, [&] {
        generateKey(bit ? KEY_PRESS_EVENT : KEY_RELEASE_EVENT, key.keyCode, now);
        key.pressed = bit;
    });
}

// The observation's mutex orders frames and other inputs. Decoding needs none: only this thread uses the keys'
// states.
void tellFrame(const KXInputEventManager* manager, const KXCANMessage& message) {
    const Observation observation(manager);
    if (observation)
        observation->onFrame(message);
}

void decodeFrame(const KXCANMessage& message, CANRemoteOptions& options, unsigned int now) {
    const std::uint32_t frameId = message.canId & extendedIdentifierBits;
    if (message.canId != 0 && frameId == options.encoderCANId)
        decodeEncoder(message, options, now);
    const auto keys = options.keyIndex.equal_range(static_cast<int>(frameId));
    for (auto key = keys.first; key != keys.second; ++key)
        decodeKey(message, *key->second, now);
}

} // namespace

// All that can fail comes before the first change.
int KXInputEventManager::setCANRemoteOptions(CANRemoteOptions options) {
    CANRemoteOptions layout = options;
    for (KeyOptionsCANRemote& key : layout.keys)
        key.pressed = 0;
    layout.enabled = true;
    layout.keyIndex.clear();
    CANRemoteOptions toldLayout = layout;
    layout.enabled = false;
    layout.keyIndex = canRemoteOptions.keyIndex; // of all layouts so far
    for (KeyOptionsCANRemote& key : canRemoteOptions.keys)
        layout.keyIndex.emplace(options.keys[&key - canRemoteOptions.keys].canId, &key);
    const bool isOpened = options.enabled && endPointManager;
    auto handler = isOpened ? std::make_unique<CANRemoteHandler>(this) : nullptr;
    const Observation observation(this);
    if (observation)
        observation->onKeypad(options);
    int status = STATUS_OK;
    if (isOpened)
        status = openCANRemote(layout, std::move(handler));
    else
        canRemoteOptions = std::move(layout);
    canRemoteLayout = std::move(toldLayout);
    return status;
}

int KXInputEventManager::openCANRemote(CANRemoteOptions& layout, std::unique_ptr<CANRemoteHandler> handler) {
    writeLine(std::cout, {"KXInputEventManager::setRask44options: 44 enabled"});
    std::unique_ptr<KXCANRaw> bus(KXCANRaw::create(0, 0, 0));
    if (bus)
        bus->configure(layout.endPointSetting);
    canRemoteOptions = std::move(layout); // before the first frame
    if (!bus)
        return STATUS_OK;
    const int status = endPointManager->addEndPoint(bus.get(), handler.get());
    if (status != STATUS_OK)
        return status; // nobody would read the bus
    // The bus and the handler are never released: an enabled keypad stays on until the process ends.
    canRemoteEndPoint = bus.release();
    canRemoteHandler = handler.release();
    return STATUS_OK;
}

CANRemoteHandler::CANRemoteHandler(KXInputEventManager* servedManager) : inputEventManager(servedManager) {}

CANRemoteHandler::~CANRemoteHandler() = default;

void CANRemoteHandler::onEndPointReadable(KXEndPoint* endPoint, KXEndPointManager*) {
    const unsigned int now = KXTick::getTickCount();
    auto* const bus = dynamic_cast<KXCANRaw*>(endPoint);
    KXCANMessage message;
    if (!bus || bus->readFrame(message) != 0)
        return;
    runStep("tell the observer of a frame", [&] { tellFrame(inputEventManager, message); });
    decodeFrame(message, inputEventManager->canRemoteOptions, now);
}

void CANRemoteHandler::onEndPointReconnected(KXEndPoint*) {}

void CANRemoteHandler::onEndPointDisconnected(KXEndPoint*) {}

} // namespace KX
