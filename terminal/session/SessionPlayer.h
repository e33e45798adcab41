#pragma once

#include "recording/KXPassSchedule.h"
#include "recording/KXRecording.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

namespace KX {
class KXInputEventManager;
}

namespace Terminal {

/// Plays a recorded session through the library, at its own pace or faster.
///
/// The library gets every input with its recorded time, and the passes of its worker are made here at the recorded
/// ticks. So it posts the same events as then, at any speed. The worker must be kept from its passes meanwhile, and no
/// other input may be delivered. Frames are left out: the recording has their keys as events of the toolkit.
///
/// It can be paused, and played step by step or quickly up to a moment. It never goes back: a manager remembers what it
/// got, so ReplayTransport begins anew with another manager and another player.
class SessionPlayer : public QObject {
    Q_OBJECT

public:
    /// What is to be done with a setting of the recording.
    using Set = std::function<void(const KX::Recording::NumberSetting&)>;

    using SharedSession = std::shared_ptr<const KX::Recording::Session>;

    /// \param session  a recording, no plain log
    /// \param speed    how many times faster than it was recorded, above 0
    SessionPlayer(SharedSession session, double speed, KX::KXInputEventManager& manager, Set set);
    SessionPlayer(KX::Recording::Session session, double speed, KX::KXInputEventManager& manager, Set set);

    /// Lets the time run, also after a pause.
    void start();

    void pause();
    bool isPaused() const { return !isRunning; }

    /// Ends the play at \p timeMs if the session goes on longer.
    void endAt(std::uint64_t timeMs);

    /// Plays the next entry, or makes the pass that is due before it, now. The time of the session leaps there.
    /// \return false when nothing was left
    bool playNext();

    /// Plays all up to \p timeMs now, and goes on from there.
    void playUntil(std::uint64_t timeMs);

    /// The tick of the session at this moment.
    unsigned int tick() const;

    /// The time of the session at this moment, as the entries have it.
    std::uint64_t nowMs() const;
    std::uint64_t startMs() const { return beginMs; }
    std::uint64_t lastMs() const { return endMs; }

    /// Whether all was played, and the time is over.
    bool isAtEnd() const { return hasFinished; }

    std::size_t playedInputs() const { return next; }
    std::size_t inputCount() const { return session->entries.size(); }

    /// The first layout of a keypad in the session; one without keys and knob when there is none.
    KX::CANRemoteOptions keypadLayout() const;

signals:
    /// A frame was left out, see above.
    void framePassed(const KX::KXCANMessage& frame);

    void speedTableChanged();

    /// An entry was played, or a pass was made: the manager may have posted events.
    void stepped();

    void progressed();
    void finished();

private:
    struct Play;

    void playWhatIsDue();
    bool playNextUntil(std::uint64_t timeMs);
    void play(const KX::Recording::Entry& entry);
    void pass(unsigned int tick);
    std::uint64_t nextEntryMs() const;
    void leapTo(std::uint64_t timeMs);
    void goOn(std::uint64_t playedUntilMs);
    void waitFor(std::uint64_t timeMs);

    const SharedSession session;
    KX::KXPassSchedule schedule;
    const std::uint64_t beginMs;
    std::uint64_t endMs;
    const double speedFactor;
    KX::KXInputEventManager& manager;
    const Set applySetting;
    QElapsedTimer sinceLeap;
    std::uint64_t leapMs; // the time of the session when the clock was started last, or stands since
    QTimer timer;
    std::size_t next = 0;
    bool isRunning = false;
    bool hasFinished = false;
};

} // namespace Terminal
