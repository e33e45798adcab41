#pragma once

#include "terminal/session/SessionPlayer.h"

#include <QObject>
#include <QString>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <vector>

namespace Terminal {

/// Pauses a replay, steps through its events and seeks in it. Of the session it plays the part from one moment to
/// another; all before that part is played at once and out of sight, so that the part gives the same events as in a
/// play of the whole.
///
/// To go back it begins anew: the stage makes a new manager, and the session is played quickly up to the wanted place.
class ReplayTransport : public QObject {
    Q_OBJECT

public:
    /// What the transport needs of the terminal.
    struct Stage {
        /// Makes manager, views and all that takes events as they were at the beginning. Not called before the first
        /// play.
        std::function<void()> renew;

        std::function<std::unique_ptr<SessionPlayer>()> makePlayer;

        /// Takes the events that the manager has posted, and calls \ref takeEvent for each.
        std::function<void()> takeEvents;
    };

    enum class State { Playing, Paused, AtEnd };

    static constexpr std::uint64_t seekMs = 5000;

    explicit ReplayTransport(Stage stage);
    ~ReplayTransport() override;

    /// The part to play, in the time of the session's entries. Call it before \ref start, if at all.
    void setPart(std::uint64_t fromMs, std::uint64_t toMs);

    void start();

    /// Notes an event of the manager.
    /// \return whether it belongs to the part
    bool takeEvent();

    /// Whether the event taken last is shown for the first time, and not again after going back.
    bool isNew() const { return eventCount > mostEvents; }

    /// Handles a key of the viewer: Space pauses and goes on, '.' and ',' step to the next event and the one before,
    /// Right and Left seek.
    /// \return whether it is such a key
    bool takeKey(int toolkitKey);

    void togglePause();

    /// Plays up to the next event, and pauses.
    void stepForward();

    /// Returns to the event before the last one, and pauses.
    void stepBack();

    void seekBy(std::int64_t ms);

    /// \param ms  since the beginning of the part
    void seekTo(std::uint64_t ms);

    State state() const;

    /// Since the beginning of the part.
    std::uint64_t positionMs() const;
    std::uint64_t lengthMs() const;

    const SessionPlayer& player() const { return *running; }

signals:
    /// State or position has changed, or inputs were played.
    void changed();

    /// At the end of the part; it can be left by going back.
    void finished();

private:
    void makePlayer();
    void playOutOfSight();
    void takeStep();
    void goBackTo(std::function<void()> play);
    bool putOff(std::function<void()> call);
    void returnToEvent(std::size_t count);

    const Stage stage;
    std::unique_ptr<SessionPlayer> running;
    std::uint64_t fromMs = 0;
    std::uint64_t toMs = UINT64_MAX;
    bool isOutOfSight = false;
    bool isGoingBack = false;
    std::deque<std::function<void()>> putOffCalls;
    std::size_t eventCount = 0;     // of the part, so far
    std::size_t mostEvents = 0;     // that were shown before
    std::vector<std::size_t> stops; // event counts after each step of the player that made events
};

} // namespace Terminal
