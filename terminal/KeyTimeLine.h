#pragma once

#include "events/KXEvent.h"
#include "events/KXEventKind.h"

#include <cstdint>
#include <deque>
#include <map>
#include <utility>

namespace Terminal {

/// What the operator's hands did over time: for each key and mouse button when it was down and what was
/// recognised meanwhile, and the moves of the encoder.
///
/// Made of classified events, in the order in which they were posted. It keeps what the newest \ref capacity of
/// them tell. Time is in ms and does not wrap: the events' 32-bit ticks are continued across their wrap.
class KeyTimeLine {
public:
    using Time = std::int64_t;

    static constexpr int capacity = 10000;

    /// A time at which a key was down.
    struct Span {
        enum class Ending {
            Down,     ///< not ended: the key is still down
            Released, ///< as it should be
            Escaped,  ///< the press of a mouse button was taken back
            Lost,     ///< pressed anew with no release seen: it ended nobody knows when
        };

        Time start = 0;
        Time end = 0;                        ///< the last sign of it while \ref ending is Down or Lost
        Time longPressAt = 0;                ///< when the long press was recognised, if \ref isLongPress
        unsigned int sincePreviousPress = 0; ///< from press to press, in ms, if \ref followsPress
        unsigned int doublePressWindow = 0;  ///< how long that was allowed to take at the time, in ms
        Ending ending = Ending::Down;
        bool isPressSeen = true; ///< else the span begins at the first sign of it
        bool followsPress = false;
        bool isInterrupted = false; ///< something else was pressed since, so this could be no double press
        bool isDoublePress = false;
        bool isLongPress = false;
        bool isLongRelease = false;
        int eventCount = 1; ///< that it is made of
    };

    struct Move {
        Time time = 0;
        int value = 0;
        int count = 0;
        bool isDownwards = false; ///< the direction of the key Down
    };

    enum class LaneKind { Key, MouseButton };
    using LaneKey = std::pair<LaneKind, unsigned int>; ///< with the key code or the button

    struct Lane {
        KX::KXInputEvent namesake; ///< the event that opened the lane, to name the lane by
        std::uint64_t number = 0;  ///< lanes are numbered in the order in which they opened
        std::deque<Span> spans;    ///< in order of time, without overlap
    };

    /// Lanes are dropped when nothing in them is kept any more.
    using Lanes = std::map<LaneKey, Lane>;

    /// For the presses that follow: what \ref Span::doublePressWindow tells.
    void setDoublePressWindow(unsigned int ms);

    void append(const KX::KXInputEvent& event);

    const Lanes& lanes() const;
    const std::deque<Move>& moves() const;

    /// Time of the newest event; 0 when there is none yet.
    Time newest() const;

    /// Time of the first event of what is kept; that of the newest when nothing is.
    Time oldest() const;

    /// The events' tick at a time.
    unsigned int tickAt(Time time) const;

    bool isEmpty() const;
    bool isAnyKeyDown() const;

    /// Events that what is kept is made of.
    int eventCount() const;

    /// The first span that ends at \p time or later; a span that is still down does not end.
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
    std::deque<std::pair<Place, LaneKey>> oldestFirst; ///< where each span and move is
    Time newestTime = 0;
    unsigned int newestTick = 0;
    bool hasTime = false;
    LaneKey lastPressed;
    std::uint64_t openedLanes = 0;
    unsigned int doublePressWindowMs = 300;
    int keptEvents = 0;
    int keysDown = 0;
};

} // namespace Terminal
