#pragma once

#include "events/KXEventType.h"

namespace KX {

/// The device that a classified event comes from.
enum class KXInputDevice {
    NoDevice, ///< the type is no classified input
    Key,      ///< of a keyboard or a keypad
    Mouse,    ///< its buttons and moves, or a touch
    Encoder,  ///< a knob, the wheel, or the step keys
};

/// What the operator did.
enum class KXGesture {
    NoGesture, ///< the type is no classified input
    Press,
    DoublePress,
    LongPress,
    Release,
    LongRelease,
    Move, ///< of the mouse or the encoder
    Enter,
    Exit,
    Escape, ///< the mouse button was released where it does not count
};

/// What an event type says of the operator's input.
struct KXEventKind {
    KXInputDevice device = KXInputDevice::NoDevice; ///< what he used
    KXGesture gesture = KXGesture::NoGesture;       ///< what he did with it
};

/// Device and gesture of \p type, which may be any number. A type that is no classified input has neither.
constexpr KXEventKind kindOfEventType(int type) {
    switch (type) {
    case KEY_PRESS_EVENT: return {KXInputDevice::Key, KXGesture::Press};
    case KEY_DOUBLE_PRESS_EVENT: return {KXInputDevice::Key, KXGesture::DoublePress};
    case KEY_LONG_PRESS_EVENT: return {KXInputDevice::Key, KXGesture::LongPress};
    case KEY_RELEASE_EVENT: return {KXInputDevice::Key, KXGesture::Release};
    case KEY_LONG_RELEASE_EVENT: return {KXInputDevice::Key, KXGesture::LongRelease};
    case MOUSE_PRESS_EVENT: return {KXInputDevice::Mouse, KXGesture::Press};
    case MOUSE_DOUBLE_PRESS_EVENT: return {KXInputDevice::Mouse, KXGesture::DoublePress};
    case MOUSE_LONG_PRESS_EVENT: return {KXInputDevice::Mouse, KXGesture::LongPress};
    case MOUSE_RELEASE_EVENT: return {KXInputDevice::Mouse, KXGesture::Release};
    case MOUSE_LONG_RELEASE_EVENT: return {KXInputDevice::Mouse, KXGesture::LongRelease};
    case MOUSE_MOVE_EVENT: return {KXInputDevice::Mouse, KXGesture::Move};
    case MOUSE_ENTER_EVENT: return {KXInputDevice::Mouse, KXGesture::Enter};
    case MOUSE_EXIT_EVENT: return {KXInputDevice::Mouse, KXGesture::Exit};
    case MOUSE_ESCAPE_EVENT: return {KXInputDevice::Mouse, KXGesture::Escape};
    case ENCODER_MOVE_EVENT: return {KXInputDevice::Encoder, KXGesture::Move};
    default: return {};
    }
}

/// Whether the type is a gesture of a key.
constexpr bool isKeyEvent(int type) {
    return kindOfEventType(type).device == KXInputDevice::Key;
}

/// Whether the type is a gesture of the mouse.
constexpr bool isMouseEvent(int type) {
    return kindOfEventType(type).device == KXInputDevice::Mouse;
}

/// A press or a double press.
constexpr bool isPressEvent(int type) {
    const KXGesture gesture = kindOfEventType(type).gesture;
    return gesture == KXGesture::Press || gesture == KXGesture::DoublePress;
}

} // namespace KX
