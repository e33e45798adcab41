#include "terminal/SessionPlayer.h"

#include "input/KXInputEventManager.h"
#include "tools/keylayout/KeyLayout.h"
#include "tools/recording/RecordedCalls.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

// The worker's own beat, for sessions that do not tell when it passed.
constexpr std::uint64_t passIntervalMs = 100;

// So long the worker goes on behind the last input of such a session: the last bundle of steps comes out.
constexpr std::uint64_t restMs = 200;

// What is due at one moment is played at once, but the window gets its turn in between.
constexpr std::size_t mostAtOnce = 2000;

} // namespace

SessionPlayer::SessionPlayer(Recording::Session recordedSession, double speed,
                             KX::KXInputEventManager& inputEventManager, InputGate& gate, Set set)
    : session(std::move(recordedSession)), speedFactor(speed), manager(inputEventManager),
      applySetting(std::move(set)), hold(gate) {
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    connect(&timer, &QTimer::timeout, this, &SessionPlayer::playWhatIsDue);
}

void SessionPlayer::start() {
    sinceStart.start();
    lastPassMs = session.entries.empty() ? 0 : session.entries.front().timeMs;
    timer.start(0);
}

unsigned int SessionPlayer::tick() const {
    return static_cast<unsigned int>(std::min(sessionTime(), endTime()));
}

KX::CANRemoteOptions SessionPlayer::keypadLayout() const {
    for (const Recording::Entry& entry : session.entries) {
        if (const auto* const keypad = std::get_if<Recording::Keypad>(&entry.input))
            return *keypad->layout;
    }
    return KeyLayout::empty();
}

std::uint64_t SessionPlayer::sessionTime() const {
    if (session.entries.empty())
        return 0;
    const double elapsedMs = sinceStart.isValid() ? static_cast<double>(sinceStart.elapsed()) * speedFactor : 0;
    return session.entries.front().timeMs + static_cast<std::uint64_t>(elapsedMs);
}

std::uint64_t SessionPlayer::endTime() const {
    if (session.entries.empty())
        return 0;
    return session.entries.back().timeMs + (session.hasPasses ? 0 : restMs);
}

void SessionPlayer::playWhatIsDue() {
    const std::uint64_t now = sessionTime();
    for (std::size_t count = 0; next < session.entries.size() && session.entries[next].timeMs <= now; ++next) {
        if (++count > mostAtOnce) {
            timer.start(0);
            emit progressed();
            return;
        }
        play(session.entries[next]);
    }
    makePassesUntil(std::min(now, endTime()));
    emit progressed();
    if (now < endTime()) {
        waitFor(next < session.entries.size() ? session.entries[next].timeMs : endTime());
    } else if (!std::exchange(hasFinished, true)) {
        emit finished();
    }
}

void SessionPlayer::waitFor(std::uint64_t timeMs) {
    // Not longer than the worker would wait: the passes between two inputs are to be seen in time.
    const std::uint64_t dueMs = session.hasPasses ? timeMs : std::min(timeMs, lastPassMs + passIntervalMs);
    const double untilMs = static_cast<double>(dueMs - session.entries.front().timeMs) / speedFactor;
    const double restOfWait = untilMs - static_cast<double>(sinceStart.elapsed());
    // A wait that is longer than a timer takes is cut into several.
    timer.start(static_cast<int>(std::clamp(std::ceil(restOfWait), 0.0, 1e9)));
}

// One overload for each kind of input, so that a new one is not forgotten.
struct SessionPlayer::Play {
    SessionPlayer& player;
    unsigned int tick;

    void operator()(const KX::KXToolkitEvent& event) const {
        Recording::repeatCall(event, player.manager);
    }
    void operator()(const Recording::NumberSetting& setting) const {
        player.applySetting(setting);
    }
    void operator()(const Recording::SpeedTable& table) const {
        Recording::repeatCall(table, player.manager);
        emit player.speedTableChanged();
    }
    void operator()(const Recording::KeyMapping& mapping) const {
        Recording::repeatCall(mapping, player.manager);
    }
    void operator()(const Recording::Frame& frame) const {
        emit player.framePassed(frame.message);
    }
    void operator()(const Recording::Pass& /*pass*/) const {
        player.pass(tick);
    }
    // The library listens to no keypad in a replay, see above.
    void operator()(const Recording::Keypad& /*keypad*/) const {}
    void operator()(const Recording::End& /*end*/) const {}
};

void SessionPlayer::play(const Recording::Entry& entry) {
    makePassesUntil(entry.timeMs);
    std::visit(Play{*this, entry.tick()}, entry.input);
}

void SessionPlayer::makePassesUntil(std::uint64_t timeMs) {
    if (session.hasPasses)
        return;
    while (lastPassMs + passIntervalMs <= timeMs) {
        lastPassMs += passIntervalMs;
        pass(static_cast<unsigned int>(lastPassMs));
    }
}

void SessionPlayer::pass(unsigned int tick) {
    manager.sendLongPressEvent(tick);
    manager.sendEncoderMoveEvent(tick);
}
