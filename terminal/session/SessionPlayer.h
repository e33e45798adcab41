#pragma once

#include "recording/KXPassSchedule.h"
#include "recording/KXRecording.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <cstddef>
#include <cstdint>
#include <functional>

namespace KX {
class KXInputEventManager;
}

namespace Terminal {

/// Plays a recorded session through the library, at its own pace or faster.
///
/// The library gets every input with its recorded time, and the passes of its worker are made here at the recorded
/// ticks. So it posts the same events as then, at any speed. The worker must be kept from its passes meanwhile, and no
/// other input may be delivered. Frames are left out: the recording has their keys as events of the toolkit.
class SessionPlayer : public QObject {
    Q_OBJECT

public:
    /// What is to be done with a setting of the recording.
    using Set = std::function<void(const KX::Recording::NumberSetting&)>;

    /// \param session  a recording, no plain log
    /// \param speed    how many times faster than it was recorded, above 0
    SessionPlayer(KX::Recording::Session session, double speed, KX::KXInputEventManager& manager, Set set);

    void start();

    /// The tick of the session at this moment.
    unsigned int tick() const;

    std::size_t playedInputs() const { return next; }
    std::size_t inputCount() const { return session.entries.size(); }

    /// The first layout of a keypad in the session; one without keys and knob when there is none.
    KX::CANRemoteOptions keypadLayout() const;

signals:
    /// A frame was left out, see above.
    void framePassed(const KX::KXCANMessage& frame);

    void speedTableChanged();
    void progressed();
    void finished();

private:
    struct Play;

    void playWhatIsDue();
    void play(const KX::Recording::Entry& entry);
    void makePassesUntil(std::uint64_t timeMs);
    void pass(unsigned int tick);
    std::uint64_t sessionTime() const;
    void waitFor(std::uint64_t timeMs);

    const KX::Recording::Session session;
    KX::KXPassSchedule schedule;
    const std::uint64_t endMs;
    const double speedFactor;
    KX::KXInputEventManager& manager;
    const Set applySetting;
    QElapsedTimer sinceStart;
    QTimer timer;
    std::size_t next = 0;
    bool hasFinished = false;
};

} // namespace Terminal
