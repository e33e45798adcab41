#include "terminal/session/SessionPlayer.h"

#include "input/KXInputEventManager.h"
#include "recording/KXKeyLayout.h"
#include "recording/KXRecordedCalls.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace Terminal {

namespace {

// What is due at one moment is played at once, but the window gets its turn in between.
constexpr std::size_t mostAtOnce = 2000;

} // namespace

SessionPlayer::SessionPlayer(KX::Recording::Session recordedSession, double speed,
                             KX::KXInputEventManager& inputEventManager, Set set)
    : session(std::move(recordedSession)), schedule(session), endMs(schedule.endMs()), speedFactor(speed),
      manager(inputEventManager), applySetting(std::move(set)) {
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    connect(&timer, &QTimer::timeout, this, &SessionPlayer::playWhatIsDue);
}

void SessionPlayer::start() {
    sinceStart.start();
    timer.start(0);
}

unsigned int SessionPlayer::tick() const {
    return static_cast<unsigned int>(std::min(sessionTime(), endMs));
}

KX::CANRemoteOptions SessionPlayer::keypadLayout() const {
    for (const KX::Recording::Entry& entry : session.entries)
        if (const auto* const keypad = std::get_if<KX::Recording::Keypad>(&entry.input))
            return *keypad->layout;
    return KX::KeyLayout::empty();
}

std::uint64_t SessionPlayer::sessionTime() const {
    if (session.entries.empty())
        return 0;
    const double elapsedMs = sinceStart.isValid() ? static_cast<double>(sinceStart.elapsed()) * speedFactor : 0;
    return session.entries.front().timeMs + static_cast<std::uint64_t>(elapsedMs);
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
    makePassesUntil(std::min(now, endMs));
    emit progressed();
    if (now < endMs)
        waitFor(next < session.entries.size() ? session.entries[next].timeMs : endMs);
    else if (!std::exchange(hasFinished, true))
        emit finished();
}

void SessionPlayer::waitFor(std::uint64_t timeMs) {
    // Not longer than the worker would wait: the passes between two inputs are to be seen in time.
    const std::uint64_t dueMs = std::min(timeMs, schedule.nextMs().value_or(timeMs));
    const double untilMs = static_cast<double>(dueMs - session.entries.front().timeMs) / speedFactor;
    const double restOfWait = untilMs - static_cast<double>(sinceStart.elapsed());
    // A wait that is longer than a timer takes is cut into several.
    timer.start(static_cast<int>(std::clamp(std::ceil(restOfWait), 0.0, 1e9)));
}

// One overload for each kind of input, so that a new one is not forgotten.
struct SessionPlayer::Play {
    SessionPlayer& player;
    std::uint64_t timeMs;

    void operator()(const KX::KXToolkitEvent& event) const { KX::Recording::repeatCall(event, player.manager); }
    void operator()(const KX::KXInputEvent& event) const { KX::Recording::repeatCall(event, player.manager); }
    void operator()(const KX::Recording::Post& post) const { KX::Recording::repeatCall(post, player.manager); }
    void operator()(const KX::Recording::NumberSetting& setting) const { player.applySetting(setting); }
    void operator()(const KX::Recording::SpeedTable& table) const {
        KX::Recording::repeatCall(table, player.manager);
        emit player.speedTableChanged();
    }
    void operator()(const KX::Recording::KeyMapping& mapping) const {
        KX::Recording::repeatCall(mapping, player.manager);
    }
    void operator()(const KX::Recording::Frame& frame) const { emit player.framePassed(frame.message); }
    void operator()(const KX::Recording::Pass& /*pass*/) const { player.pass(static_cast<unsigned int>(timeMs)); }
    // The library listens to no keypad in a replay, see above; its worker passes as if it did.
    void operator()(const KX::Recording::Keypad& /*keypad*/) const {}
    void operator()(const KX::Recording::End& /*end*/) const {}
};

void SessionPlayer::play(const KX::Recording::Entry& entry) {
    makePassesUntil(entry.timeMs);
    std::visit(Play{*this, entry.timeMs}, entry.input);
    if (schedule.played(entry))
        pass(entry.tick());
}

void SessionPlayer::makePassesUntil(std::uint64_t timeMs) {
    while (const auto passMs = schedule.takeNext(timeMs))
        pass(static_cast<unsigned int>(*passMs));
}

// The worker is kept from its passes, so only this thread uses the manager.
void SessionPlayer::pass(unsigned int tick) KX_NO_THREAD_SAFETY_ANALYSIS {
    manager.sendLongPressEvent(tick);
    manager.sendEncoderMoveEvent(tick);
}

} // namespace Terminal
