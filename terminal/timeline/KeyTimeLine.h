#pragma once

#include "events/KXEvent.h"
#include "events/KXEventKind.h"
#include "recording/KXSettingTable.h"

#include <cstdint>
#include <deque>
#include <map>
#include <utility>

namespace Terminal {

/// What the operator's hands did over time. For each key and mouse button it tells when it was down and what was
/// recognised meanwhile; it also keeps the moves of the encoder.
///
/// It is made from classified events in the order of their posting, and keeps what the newest \ref capacity events
/// tell. Time is in ms and does not wrap: the 32-bit ticks are continued across their wrap.
class KeyTimeLine {
public:
    using Time = std::int64_t;

    static constexpr int capacity = 10000;

    /// A time during which a key was down.
    struct Span {
        enum class Ending {
            Down,     ///< not ended: the key is still down
            Released, ///< the normal end
            Escaped,  ///< the press of a mouse button was cancelled
            Lost,     ///< pressed again without a release: the end is unknown
        };

        Time start = 0;
        Time end = 0;                        ///< the last known time in it while \ref ending is Down or Lost
        Time longPressAt = 0;                ///< when the long press was recognised, if \ref isLongPress
        unsigned int sincePreviousPress = 0; ///< from press to press in ms, if \ref followsPress
        unsigned int doublePressWindow = 0;  ///< the limit for a double press at the time, in ms
        Ending ending = Ending::Down;
        bool isPressSeen = true; ///< otherwise the span starts with the first event after the missed press
        bool followsPress = false;
        bool isInterrupted = false; ///< another key was pressed in between, so this cannot be a double press
        bool isDoublePress = false;
        bool isLongPress = false;
        bool isLongRelease = false;
        int eventCount = 1; ///< how many events the span is made of
    };

    struct Move {
        Time time = 0;
        int value = 0;
        int count = 0;
        bool isDownwards = false; ///< the direction of the key Down
    };

    enum class LaneKind { Key, MouseButton };
    using LaneKey = std::pair<LaneKind, unsigned int>; ///< the number is the key code or the button

    struct Lane {
        KX::KXInputEvent namesake; ///< the first event of the lane, which names it
        std::uint64_t number = 0;  ///< lanes are numbered in the order in which they opened
        std::deque<Span> spans;    ///< in order of time, without overlap
    };

    /// A lane is dropped with its last span.
    using Lanes = std::map<LaneKey, Lane>;

    /// The limit for the presses that follow, see \ref Span::doublePressWindow.
    void setDoublePressWindow(unsigned int ms);

    void append(const KX::KXInputEvent& event);

    const Lanes& lanes() const;
    const std::deque<Move>& moves() const;

    /// Time of the newest event; 0 when there is none yet.
    Time newest() const;

    /// Time of the oldest event that is kept; time of the newest one when none is kept.
    Time oldest() const;

    /// The tick that events have at \p time.
    unsigned int tickAt(Time time) const;

    bool isEmpty() const;
    bool isAnyKeyDown() const;

    /// How many events are kept.
    int eventCount() const;

    /// The first span that ends at \p time or later. A span that is still down has no end.
    static std::deque<Span>::const_iterator firstSpanEndingAt(const Lane& lane, Time time);

    /// The first move at \p time or later.
    std::deque<Move>::const_iterator firstMoveAt(Time time) const;

private:
    enum class Place { Span, Move };

    Time advanceTo(const KX::KXInputEvent& event);
    Lane& laneOf(const KX::KXInputEvent& event);
    Span& openSpan(Lane& lane, Time time);
    Span& spanGoingOn(Lane& lane, Time time);
    void press(const KX::KXInputEvent& event, Time time, KX::KXGesture gesture);
    void signOfLife(const KX::KXInputEvent& event, Time time, KX::KXGesture gesture);
    void release(const KX::KXInputEvent& event, Time time, KX::KXGesture gesture);
    void move(const KX::KXInputEvent& event, Time time);
    void count(Span& span);
    void dropOldest();

    Lanes keyLanes;
    std::deque<Move> encoderMoves;
    std::deque<std::pair<Place, LaneKey>> oldestFirst; ///< the place of each span and move
    Time newestTime = 0;
    unsigned int newestTick = 0;
    bool hasTime = false;
    LaneKey lastPressed;
    std::uint64_t openedLanes = 0;
    unsigned int doublePressWindowMs =
        static_cast<unsigned int>(settingRow(KX::KXInputSetting::DoubleKeyPressDuration).defaultValue);
    int keptEvents = 0;
    int keysDown = 0;
};

} // namespace Terminal
