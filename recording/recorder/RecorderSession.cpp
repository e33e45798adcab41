// What the recorder notes of the session, in memory and in the file of a recording that goes on.

#include "recording/recorder/RecorderSession.h"

#include "events/DiagnosticLine.h"
#include "events/KXEventClass.h"
#include "input/KXInputEventManager.h"
#include "platform/KXTick.h"
#include "recording/KXKeyLayout.h"

#include <algorithm>
#include <iostream>
#include <string_view>
#include <utility>

namespace KX {

namespace {

using Recording::Entry;
using Recording::EntryLog;
using Recording::Input;
using Recording::SessionState;

constexpr std::uint64_t bytesPerHour = std::uint64_t{4} << 20;
constexpr std::uint64_t leastBytes = std::uint64_t{256} << 10;

// The log keeps this time even if the application asks for none: a moment of rest may turn out to be none.
constexpr unsigned int leastKeptMs = 10000;

constexpr unsigned int msPerHour = 3600 * 1000;

constexpr std::uint64_t ownBytes = 16 << 10; // of the recorder's other members, and the heap's own

std::uint64_t bytesFor(unsigned int keptMs) {
    return std::max(leastBytes, bytesPerHour * keptMs / msPerHour) - ownBytes;
}

} // namespace

// A line is cut at its end, but there it says what happened. A long path loses its middle instead.
void KXSessionRecorder::Session::tell(const std::string& text) {
    constexpr std::size_t mostOfAnEnd = 230;
    std::string_view begin = text;
    std::string_view end;
    if (text.size() > 2 * mostOfAnEnd) {
        begin = begin.substr(0, mostOfAnEnd);
        end = std::string_view(text).substr(text.size() - mostOfAnEnd);
    }
    writeLine(std::cerr, {"KXSessionRecorder: ", LinePiece(begin), end.empty() ? "" : "...", LinePiece(end)});
}

void KXSessionRecorder::Session::onSetting(KXInputSetting setting, std::int64_t value) {
    if (setting != KXInputSetting::KeyboardLayout) // no event depends on it
        observeOrGiveUp([&] { note(Recording::NumberSetting{setting, value}); });
}

// An event of an unknown class is posted with its type only.
void KXSessionRecorder::Session::onPostedEvent(const KXEvent& event) {
    Recording::Post post;
    const bool isKnown = event.eventClass >= EVENT_CLASS && event.eventClass <= SOME_EVENT_CLASS;
    if (isKnown) {
        try {
            post.event = KXSomeEvent(const_cast<KXEvent&>(event)); // which is only read
        } catch (const std::bad_cast&) {
            return; // the queue will not take it either
        }
    } else {
        post.event.eventType = event.eventType;
        post.event.eventClass = event.eventClass;
    }
    observeOrGiveUp([&] { note(std::move(post)); });
}

void KXSessionRecorder::Session::onSpeedTable(const std::vector<KXEncoderDynamicPair>& pairs) {
    observeOrGiveUp([&] { note(Recording::SpeedTable{pairs}); });
    const KXLockGuard guard(lock);
    knowsTable = true;
}

// The keys come last: the manager has told its settings and those of its encoder by then.
void KXSessionRecorder::Session::onKeyMapping(const std::map<int, int>& mapping) {
    if (mapping.empty())
        return;
    observeOrGiveUp([&] {
        note(Recording::KeyMapping{mapping});
        learnEncoder();
    });
}

// Settings that the encoder got before the recorder existed were not observed, and neither was a refused table. A
// refused table changes when the encoder restarts.
void KXSessionRecorder::Session::learnEncoder() {
    bool knewTable = false;
    {
        const KXLockGuard guard(lock);
        const bool hasNoEncoder =
            KXInputEventManager::hasInstance() && KXInputEventManager::getMemory().restartGapMs == 0;
        if (hasNoEncoder || std::exchange(knowsEncoder, true))
            return;
        knewTable = std::exchange(knowsTable, true);
    }
    const KXEncoderDynamic* const encoder = KXEncoderDynamic::instance();
    if (!encoder)
        return;
    const Recording::SpeedTable table{encoder->getDynamicParameters()};
    if (!knewTable) {
        note(table);
        note(Recording::NumberSetting{KXInputSetting::EncoderLowPassFactor, encoder->getLowPassFactor()});
        note(Recording::NumberSetting{KXInputSetting::EncoderUserFactor, encoder->getUserFactor()});
    }
    if (encoder->getRestartTimeGap() != Recording::restartGapOf(table))
        note(Recording::SpeedTable{{{1, 1}, {1, 1}}});
}

// A replay checks the layout as the tools do, by the keys of which the recording tells. What it refuses would make the
// whole recording useless; its keys are recorded all the same, as the toolkit reports them.
void KXSessionRecorder::Session::onKeypad(const CANRemoteOptions& options) {
    if (options.enabled)
        observeOrGiveUp([&] { learnKeypad(options); });
}

void KXSessionRecorder::Session::learnKeypad(const CANRemoteOptions& options) {
    KXUniqueLock guard(lock);
    const auto wrong = KeyLayout::check(options, stateAt(log.end()).toldKeys().toolkitKeys());
    guard.unlock();
    if (wrong)
        tell("the layout of the keypad is left out: " + wrong->text);
    else
        note(Recording::Keypad{std::make_shared<const CANRemoteOptions>(options)});
}

void KXSessionRecorder::Session::onPass(unsigned int tick) {
    observeOrGiveUp([&] {
        const KXLockGuard guard(lock);
        take(tick, Recording::Pass());
    });
}

// The tick is read under the lock, so an entry that waited for another one is not earlier.
void KXSessionRecorder::Session::note(Input input) {
    const KXLockGuard guard(lock);
    take(KXTick::getTickCount(), std::move(input));
}

void KXSessionRecorder::Session::take(unsigned int tick, Input&& input) {
    if (hasGivenUp)
        return;
    forgetDeletedManager();
    hadManager = KXInputEventManager::hasInstance();
    Entry entry;
    try {
        entry.timeMs = Recording::continueTime(tick, lastMs);
    } catch (const std::runtime_error& error) {
        // What was before has no place in a recording with what comes.
        forgetAll(stateAt(log.end()), tick, error.what());
        entry.timeMs = tick;
    }
    const KXInputMemory memory = KXInputEventManager::getMemory();
    forgetTurn(memory);
    entry.input = std::move(input);
    const EntryLog::Place place = log.end();
    if (std::holds_alternative<Recording::Pass>(entry.input)) {
        rests.pass(tick, place, memory);
    } else {
        rests.input(entry, place, memory);
        const auto* const setting = std::get_if<Recording::NumberSetting>(&entry.input);
        wasUserFactorSet = setting && setting->name == KXInputSetting::EncoderUserFactor;
    }
    if (const auto* const keypad = std::get_if<Recording::Keypad>(&entry.input))
        layout = keypad->layout;
    if (!isForeignFrame(entry.input))
        log.append(entry);
    lastMs = entry.timeMs;
    if (file)
        writeLast(entry);
    if (log.end().chunk != place.chunk)
        trim();
}

// Nearly all frames of a busy bus are for other devices. Without them, the memory holds more minutes.
bool KXSessionRecorder::Session::isForeignFrame(const Recording::Input& input) const {
    const auto* const frame = std::get_if<Recording::Frame>(&input);
    return frame && layout && Recording::isForeign(*frame, *layout);
}

// A file that did not begin at rest begins anew at the next one. Until then it goes on: a part of the session is better
// than nothing.
void KXSessionRecorder::Session::writeLast(const Entry& entry) {
    beganAtNoRest = beganAtNoRest || (!isWaitingForRest && rests.wasDisproved(beganAt));
    if ((isWaitingForRest || beganAtNoRest) && rests.last())
        return beginAnew();
    if (isWaitingForRest)
        return;
    file->add(entry);
    if (!file->flush() || isFileLost(entry.timeMs))
        endFile(*file->problem());
}

void KXSessionRecorder::Session::beginAnew() {
    const bool wasEmpty = isWaitingForRest;
    if ((wasEmpty || file->restart()) && beginFile())
        return;
    if (wasEmpty)
        file->discard();
    endFile(*file->problem());
}

// Asks the system once a second, not at each line. The worker's passes come every 100 ms, so a line has to wait for the
// disk a little longer than that.
bool KXSessionRecorder::Session::isFileLost(std::uint64_t nowMs) {
    constexpr unsigned int pauseMs = 1000;
    if (nowMs - lookedAtFileMs < pauseMs)
        return false;
    lookedAtFileMs = nowMs;
    return file->isGone() || !file->startSync();
}

// A failed recording must not disturb the operator's work, so the application goes on without it.
void KXSessionRecorder::Session::endFile(const std::string& why) {
    isWhole = fail(why);
    file.reset();
    tell(lastProblem + "; the recording ends here");
}

// The log lacks an input, so no recording of it would replay the same. What it has is dropped, which also makes
// room for the message. The application's next operation begins anew, because only then may the manager be asked
// for its settings.
void KXSessionRecorder::Session::giveUp() {
    const KXLockGuard guard(lock);
    if (std::exchange(hasGivenUp, true))
        return;
    log.clear();
    rests.clear();
    if (file)
        endFileWithoutMemory();
}

void KXSessionRecorder::Session::endFileWithoutMemory() {
    try {
        endFile(path + ": " + noMemory);
    } catch (const std::bad_alloc&) {
        file.reset();
        isWhole = false;
        lastProblem.assign(noMemory);
        writeLine(std::cerr, {"KXSessionRecorder: ", noMemory, "; the recording ends here"});
    }
}

// The observer does not notice the end of a manager. The next manager tells its settings in its constructor, before
// the process has it. It knows nothing of the former one, and a replay makes only one manager.
void KXSessionRecorder::Session::forgetDeletedManager() {
    if (!hadManager || KXInputEventManager::hasInstance())
        return;
    hadManager = knowsEncoder = knowsTable = false;
    forgetAll({}, lastMs, "the manager was deleted and made anew");
    rests.addBeginning(log.begin());
}

// KXEncoderDynamic::initialize sets the user factor and then forgets the turn. A new encoder has no turn. A step with
// time stamp 0 looks like a forgotten turn, but only these two cases are one.
void KXSessionRecorder::Session::forgetTurn(const KXInputMemory& memory) {
    if (rests.hasLostStep(memory) && (wasUserFactorSet || memory.restartGapMs == 0))
        forgetAll(stateAt(log.end()), lastMs, "the encoder was initialised anew and has forgotten its last turn");
}

// A recording that waits for a moment of rest has nothing yet, so it can go on.
void KXSessionRecorder::Session::forgetAll(SessionState presentState, std::uint64_t presentMs,
                                           const std::string& why) {
    if (file && !isWaitingForRest)
        endFile(path + ": " + why);
    stateAtBegin = std::move(presentState);
    log.clear();
    rests.clear();
    lastMs = presentMs;
}

void KXSessionRecorder::Session::trim() {
    const unsigned int neededMs = std::max(keptMs, leastKeptMs);
    const auto needed = rests.lastBefore(lastMs > neededMs ? lastMs - neededMs : 0);
    const auto apply = [this](const Entry& entry) KX_REQUIRES(lock) { stateAtBegin.apply(entry.input); };
    if (needed)
        log.dropBefore(*needed, apply);
    rests.dropBefore(log.begin());
    while (log.bytes() + rests.bytes() > bytesFor(keptMs)) {
        log.dropBefore({log.begin().chunk + 1, 0, 0}, apply);
        rests.dropBefore(log.begin());
    }
}

} // namespace KX
