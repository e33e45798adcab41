#pragma once

/// What an event means to the operator; views give each kind its colour.
enum class EventKind {
    Press,
    DoublePress,
    LongPress,
    Release,
    LongRelease,
    Move,
    Escape,
    Encoder,
    Other,
};

/// \p eventType as KXEvent has it.
EventKind kindOfEvent(int eventType);
