#include "terminal/EventKind.h"

#include "events/KXEventType.h"

EventKind kindOfEvent(int eventType) {
    switch (eventType) {
    case KX::KEY_PRESS_EVENT:
    case KX::MOUSE_PRESS_EVENT:
        return EventKind::Press;
    case KX::KEY_DOUBLE_PRESS_EVENT:
    case KX::MOUSE_DOUBLE_PRESS_EVENT:
        return EventKind::DoublePress;
    case KX::KEY_LONG_PRESS_EVENT:
    case KX::MOUSE_LONG_PRESS_EVENT:
        return EventKind::LongPress;
    case KX::KEY_RELEASE_EVENT:
    case KX::MOUSE_RELEASE_EVENT:
        return EventKind::Release;
    case KX::KEY_LONG_RELEASE_EVENT:
    case KX::MOUSE_LONG_RELEASE_EVENT:
        return EventKind::LongRelease;
    case KX::MOUSE_MOVE_EVENT:
        return EventKind::Move;
    case KX::MOUSE_ESCAPE_EVENT:
        return EventKind::Escape;
    case KX::ENCODER_MOVE_EVENT:
        return EventKind::Encoder;
    default:
        return EventKind::Other;
    }
}
