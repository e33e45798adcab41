#include "terminal/session/SessionPlayer.h"

#include "input/KXInputEventManager.h"
#include "tools/keylayout/KeyLayout.h"
#include "tools/recording/RecordedCalls.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace Terminal {

namespace {

// The worker's own beat, for sessions that do not tell when it passed.
constexpr std::uint64_t passIntervalMs = 100;

// So long the worker goes on behind the last input of such a session, unless that ends later: the last bundle of
// steps comes out.
constexpr std::uint64_t restMs = 200;

// What is due at one moment is played at once, but the window gets its turn in between.
constexpr std::size_t mostAtOnce = 2000;

bool isInput(const Recording::Entry& entry) {
    return std::holds_alternative<KX::KXToolkitEvent>(entry.input) ||
           std::holds_alternative<Recording::Frame>(entry.input);
}

std::uint64_t endOf(const Recording::Session& session) {
    if (session.entries.empty())
        return 0;
    const std::uint64_t lastLineMs = session.entries.back().timeMs;
    if (session.hasPasses)
        return lastLineMs;
    const auto lastInput = std::find_if(session.entries.rbegin(), session.entries.rend(), isInput);
    const Recording::Entry& last = lastInput == session.entries.rend() ? session.entries.front() : *lastInput;
    return std::max(lastLineMs, last.timeMs + restMs);
}

} // namespace

SessionPlayer::SessionPlayer(Recording::Session recordedSession, double speed,
                             KX::KXInputEventManager& inputEventManager, Set set)
    : session(std::move(recordedSession)), endMs(endOf(session)), speedFactor(speed), manager(inputEventManager),
      applySetting(std::move(set)) {
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
    return static_cast<unsigned int>(std::min(sessionTime(), endMs));
}

KX::CANRemoteOptions SessionPlayer::keypadLayout() const {
    for (const Recording::Entry& entry : session.entries)
        if (const auto* const keypad = std::get_if<Recording::Keypad>(&entry.input))
            return *keypad->layout;
    return KeyLayout::empty();
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
    const std::uint64_t dueMs = session.hasPasses ? timeMs : std::min(timeMs, lastPassMs + passIntervalMs);
    const double untilMs = static_cast<double>(dueMs - session.entries.front().timeMs) / speedFactor;
    const double restOfWait = untilMs - static_cast<double>(sinceStart.elapsed());
    // A wait that is longer than a timer takes is cut into several.
    timer.start(static_cast<int>(std::clamp(std::ceil(restOfWait), 0.0, 1e9)));
}

// One overload for each kind of input, so that a new one is not forgotten.
struct SessionPlayer::Play {
    SessionPlayer& player;
    std::uint64_t timeMs;

    void operator()(const KX::KXToolkitEvent& event) const { Recording::repeatCall(event, player.manager); }
    void operator()(const Recording::NumberSetting& setting) const { player.applySetting(setting); }
    void operator()(const Recording::SpeedTable& table) const {
        Recording::repeatCall(table, player.manager);
        emit player.speedTableChanged();
    }
    void operator()(const Recording::KeyMapping& mapping) const { Recording::repeatCall(mapping, player.manager); }
    void operator()(const Recording::Frame& frame) const {
        emit player.framePassed(frame.message);
        player.makePassOfFrame(timeMs);
    }
    void operator()(const Recording::Pass& /*pass*/) const { player.pass(static_cast<unsigned int>(timeMs)); }
    // The library listens to no keypad in a replay, see above; its worker passes as if it did.
    void operator()(const Recording::Keypad& /*keypad*/) const { player.listensToBus = true; }
    void operator()(const Recording::End& /*end*/) const {}
};

void SessionPlayer::play(const Recording::Entry& entry) {
    makePassesUntil(entry.timeMs);
    std::visit(Play{*this, entry.timeMs}, entry.input);
}

void SessionPlayer::makePassesUntil(std::uint64_t timeMs) {
    if (session.hasPasses)
        return;
    while (lastPassMs + passIntervalMs <= timeMs) {
        lastPassMs += passIntervalMs;
        pass(static_cast<unsigned int>(lastPassMs));
    }
}

// A frame ends the wait of a worker that listens, and the next wait begins with its pass.
void SessionPlayer::makePassOfFrame(std::uint64_t timeMs) {
    if (session.hasPasses || !listensToBus)
        return;
    lastPassMs = timeMs;
    pass(static_cast<unsigned int>(timeMs));
}

void SessionPlayer::pass(unsigned int tick) {
    manager.sendLongPressEvent(tick);
    manager.sendEncoderMoveEvent(tick);
}

} // namespace Terminal
