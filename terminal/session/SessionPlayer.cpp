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

SessionPlayer::SessionPlayer(SharedSession recordedSession, double speed,
                             KX::KXInputEventManager& inputEventManager, Set set)
    : session(std::move(recordedSession)), schedule(*session),
      beginMs(session->entries.empty() ? 0 : session->entries.front().timeMs), endMs(schedule.endMs()),
      speedFactor(speed), manager(inputEventManager), applySetting(std::move(set)), leapMs(beginMs) {
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    connect(&timer, &QTimer::timeout, this, &SessionPlayer::playWhatIsDue);
}

SessionPlayer::SessionPlayer(KX::Recording::Session recordedSession, double speed,
                             KX::KXInputEventManager& inputEventManager, Set set)
    : SessionPlayer(std::make_shared<const KX::Recording::Session>(std::move(recordedSession)), speed,
                    inputEventManager, std::move(set)) {}

void SessionPlayer::start() {
    leapMs = nowMs();
    isRunning = true;
    sinceLeap.start();
    timer.start(0);
}

void SessionPlayer::pause() {
    leapMs = nowMs();
    isRunning = false;
    timer.stop();
}

void SessionPlayer::endAt(std::uint64_t timeMs) {
    endMs = std::clamp(timeMs, beginMs, endMs);
}

unsigned int SessionPlayer::tick() const {
    return static_cast<unsigned int>(nowMs());
}

std::uint64_t SessionPlayer::nowMs() const {
    if (!isRunning)
        return leapMs;
    const auto elapsedMs = static_cast<std::uint64_t>(static_cast<double>(sinceLeap.elapsed()) * speedFactor);
    return std::min(leapMs + elapsedMs, endMs);
}

KX::CANRemoteOptions SessionPlayer::keypadLayout() const {
    for (const KX::Recording::Entry& entry : session->entries)
        if (const auto* const keypad = std::get_if<KX::Recording::Keypad>(&entry.input))
            return *keypad->layout;
    return KX::KeyLayout::empty();
}

// Behind the end: nothing is left.
std::uint64_t SessionPlayer::nextEntryMs() const {
    return next < session->entries.size() ? session->entries[next].timeMs : endMs + 1;
}

// Passes of a tick are made before its inputs.
bool SessionPlayer::playNextUntil(std::uint64_t timeMs) {
    const std::uint64_t entryMs = nextEntryMs();
    if (const auto passMs = schedule.takeNext(std::min(entryMs, std::min(timeMs, endMs))))
        pass(static_cast<unsigned int>(*passMs));
    else if (entryMs <= std::min(timeMs, endMs))
        play(session->entries[next++]);
    else
        return false;
    emit stepped();
    return true;
}

bool SessionPlayer::playNext() {
    const std::uint64_t entryMs = std::min(nextEntryMs(), endMs);
    const std::uint64_t passMs = schedule.nextMs().value_or(entryMs);
    const bool isPlayed = playNextUntil(entryMs);
    leapTo(isPlayed ? std::max(nowMs(), std::min(passMs, entryMs)) : endMs);
    if (!isPlayed)
        goOn(endMs);
    return isPlayed;
}

void SessionPlayer::playUntil(std::uint64_t timeMs) {
    while (playNextUntil(timeMs)) {
    }
    leapTo(std::min(timeMs, endMs));
    goOn(leapMs);
}

void SessionPlayer::leapTo(std::uint64_t timeMs) {
    leapMs = timeMs;
    sinceLeap.start();
}

void SessionPlayer::playWhatIsDue() {
    const std::uint64_t now = nowMs();
    const std::size_t most = next + mostAtOnce;
    while (next < most && playNextUntil(now)) {
    }
    if (next == most && nextEntryMs() <= now) {
        timer.start(0);
        emit progressed();
        return;
    }
    while (playNextUntil(now)) {
    }
    goOn(now);
}

// Waits for what comes next, or finishes. The clock may have passed inputs since then, which are not played yet.
void SessionPlayer::goOn(std::uint64_t playedUntilMs) {
    emit progressed();
    if (playedUntilMs < endMs) {
        if (isRunning)
            waitFor(std::min(nextEntryMs(), endMs));
    } else if (!std::exchange(hasFinished, true)) {
        emit finished();
    }
}

void SessionPlayer::waitFor(std::uint64_t timeMs) {
    // Not longer than the worker would wait: the passes between two inputs are to be seen in time.
    const std::uint64_t dueMs = std::max(leapMs, std::min(timeMs, schedule.nextMs().value_or(timeMs)));
    const double untilMs = static_cast<double>(dueMs - leapMs) / speedFactor;
    const double restOfWait = untilMs - static_cast<double>(sinceLeap.elapsed());
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
    std::visit(Play{*this, entry.timeMs}, entry.input);
    if (schedule.played(entry))
        pass(entry.tick());
}

// The worker is kept from its passes, so only this thread uses the manager.
void SessionPlayer::pass(unsigned int tick) KX_NO_THREAD_SAFETY_ANALYSIS {
    manager.sendLongPressEvent(tick);
    manager.sendEncoderMoveEvent(tick);
}

} // namespace Terminal
