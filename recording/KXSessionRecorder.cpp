#include "recording/KXSessionRecorder.h"

#include "events/KXEventClass.h"
#include "input/KXInputEventManager.h"
#include "platform/KXTick.h"
#include "recording/EntryLog.h"
#include "recording/KXKeyLayout.h"
#include "recording/KXWorkerHold.h"
#include "recording/RecordingFile.h"
#include "recording/RecordingFormat.h"
#include "recording/RestPoints.h"
#include "recording/SessionState.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <iostream>
#include <mutex>
#include <utility>

namespace KX {

namespace {

using Recording::Entry;
using Recording::EntryLog;
using Recording::Input;
using Recording::SessionState;

constexpr std::uint64_t bytesPerHour = std::uint64_t{4} << 20;
constexpr std::uint64_t leastBytes = std::uint64_t{256} << 10;

// So much is there even if nothing is to be kept: a rest may turn out to be none.
constexpr unsigned int leastKeptMs = 10000;

// Taking the last events needs some milliseconds, even on a slow machine.
constexpr std::chrono::seconds longestWorkerHold{5};

constexpr unsigned int msPerHour = 3600 * 1000;

std::atomic<bool> isObserved{false};

std::uint64_t bytesFor(unsigned int keptMs) {
    return std::max(leastBytes, bytesPerHour * keptMs / msPerHour);
}

// In one insertion, so that lines of several threads do not mix.
void tell(const std::string& text) {
    std::cerr << "KXSessionRecorder: " + text + "\n" << std::flush;
}

void addHead(Recording::File& file, const SessionState& state, std::uint64_t timeMs) {
    for (Input& input : state.asInputs())
        file.add({timeMs, std::move(input)});
}

// The head has the time of the first entry. A recording begins with a pass, which changes nothing at rest: it has the
// passes of the worker, even if no other one comes.
void addEntries(Recording::File& file, const SessionState& state, const EntryLog::Copy& entries,
                std::uint64_t lastMs) {
    bool isFirst = true;
    const auto begin = [&](std::uint64_t timeMs, bool isPass) {
        if (!std::exchange(isFirst, false))
            return;
        addHead(file, state, timeMs);
        if (!isPass)
            file.add({timeMs, Recording::Pass()});
    };
    entries.forEach([&](const Entry& entry) {
        begin(entry.timeMs, std::holds_alternative<Recording::Pass>(entry.input));
        file.add(entry);
    });
    begin(lastMs, false);
}

} // namespace

// The manager calls the observer's operations with its mutex held. So no operation here may call the manager with the
// lock held, other than what only reads.
class KXSessionRecorder::Session final : public KXWorkerHold {
public:
    explicit Session(unsigned int keptMilliseconds) : keptMs(keptMilliseconds) {}
    ~Session() override { endObserving(); }

    bool observe();

    bool start(const std::string& path);
    bool stop();
    bool save(const std::string& path);
    std::string problem() const;
    bool isRecording() const;
    void holdWorker();

    void onToolkitEvent(const KXToolkitEvent& event) override { note(event); }
    void onInputEvent(const KXInputEvent& event) override { note(event); }
    void onPostedEvent(const KXEvent& event) override;
    void onSetting(KXInputSetting setting, std::int64_t value) override;
    void onSpeedTable(const std::vector<KXEncoderDynamicPair>& pairs) override;
    void onKeyMapping(const std::map<int, int>& mapping) override;
    void onKeypad(const CANRemoteOptions& options) override;
    void onFrame(const KXCANMessage& frame) override { note(Recording::Frame{Recording::keypadBus, frame}); }
    void onPass(unsigned int tick) override;

private:
    void endObserving();
    bool isStillObserver();
    void loseObservation();
    bool mayStart(const std::string& newPath);
    bool startInto(std::unique_ptr<Recording::File> newFile, const std::string& newPath);
    bool endRecording();
    std::uint64_t timeOfEnd() const;
    void note(Input input);
    void take(unsigned int tick, Input&& input);
    void learnEncoder();
    void forgetDeletedManager();
    void forgetTurn(const KXInputMemory& memory);
    void forgetAll(SessionState presentState, std::uint64_t presentMs, const std::string& why);
    void trim();
    bool beginFile();
    void writeLast(const Entry& entry);
    void waitForRest();
    void endFile(const std::string& why);
    bool fail(const std::string& what);
    SessionState stateAt(const EntryLog::Place& place) const;

    const unsigned int keptMs;
    std::atomic<unsigned int> probes{0}; // that have reached this observer

    mutable std::mutex lock; // guards what follows
    bool isObserver = false;
    std::string whyNoObserver;
    EntryLog log;
    SessionState stateAtBegin; // of the log
    Recording::RestPoints rests;
    std::uint64_t lastMs = 0;
    bool hadManager = false;               // at the last entry
    bool knowsEncoder = false;             // what was set before the recorder was there, too
    bool knowsTable = false;               // of the encoder
    bool wasUserFactorSet = false;         // by the last entry that is no pass
    std::unique_ptr<Recording::File> file; // of a recording that goes on
    std::string path;                      // of the last recording
    EntryLog::Place beganAt;               // the rest
    bool isWaitingForRest = false;         // nothing is in the file yet
    bool isWhole = true;                   // what was recorded since start
    std::string lastProblem;
};

// The manager tells its settings in setObserver, so the lock must be free.
bool KXSessionRecorder::Session::observe() {
    std::unique_lock<std::mutex> guard(lock);
    if (isObserved.exchange(true)) {
        whyNoObserver = "another recorder observes the session";
        return fail(whyNoObserver);
    }
    isObserver = true;
    hadManager = knowsEncoder = knowsTable = false;
    forgetAll({}, KXTick::getTickCount(), "");
    guard.unlock();
    KXInputEventManager::setObserver(this);
    guard.lock();
    if (log.bytes() == 0)
        rests.addBeginning(log.begin());
    return true;
}

void KXSessionRecorder::Session::endObserving() {
    stop();
    if (!isObserver)
        return;
    KXInputEventManager::setObserver(nullptr);
    isObserved = false;
}

// Nobody tells an observer that another one has taken its place, so this makes a call that changes nothing and looks
// whether it is told of it. Without a manager it cannot know.
bool KXSessionRecorder::Session::isStillObserver() {
    {
        const std::lock_guard<std::mutex> guard(lock);
        if (!isObserver)
            return false;
    }
    const unsigned int before = probes;
    if (!KXInputEventManager::hasInstance())
        return true;
    KXInputEventManager::getInstance()->setKeyMapping({});
    if (probes != before)
        return true;
    loseObservation();
    return false;
}

void KXSessionRecorder::Session::loseObservation() {
    const std::lock_guard<std::mutex> guard(lock);
    if (!std::exchange(isObserver, false))
        return;
    isObserved = false;
    whyNoObserver = "another observer has taken the place of the recorder";
    if (file)
        endFile(path + ": " + whyNoObserver);
}

bool KXSessionRecorder::Session::start(const std::string& newPath) {
    if (!isStillObserver())
        observe();
    std::unique_lock<std::mutex> guard(lock);
    if (!mayStart(newPath))
        return false;
    guard.unlock(); // the input goes on
    std::unique_ptr<Recording::File> newFile;
    std::string why;
    try {
        newFile = std::make_unique<Recording::File>(newPath);
    } catch (const std::runtime_error& error) {
        why = error.what();
    }
    guard.lock();
    return newFile ? startInto(std::move(newFile), newPath) : fail(why);
}

bool KXSessionRecorder::Session::mayStart(const std::string& newPath) {
    if (!isObserver)
        return fail(newPath + ": " + whyNoObserver);
    return !file || fail(newPath + ": a recording goes on");
}

bool KXSessionRecorder::Session::startInto(std::unique_ptr<Recording::File> newFile, const std::string& newPath) {
    if (!mayStart(newPath)) { // another thread was faster
        newFile->discard();
        return false;
    }
    forgetDeletedManager();
    file = std::move(newFile);
    path = newPath;
    isWhole = true;
    isWaitingForRest = !rests.last();
    if (isWaitingForRest || beginFile())
        return true;
    fail(*file->problem());
    file->discard();
    file.reset();
    return false;
}

// From the last rest on. The pass that showed the rest is in the log already.
bool KXSessionRecorder::Session::beginFile() {
    isWaitingForRest = false;
    const EntryLog::Place place = *rests.last();
    beganAt = place;
    addEntries(*file, stateAt(place), log.copy(place, log.end()), lastMs);
    return file->flush();
}

SessionState KXSessionRecorder::Session::stateAt(const EntryLog::Place& place) const {
    SessionState state = stateAtBegin;
    log.copy(log.begin(), place).forEach([&state](const Entry& entry) { state.apply(entry.input); });
    return state;
}

bool KXSessionRecorder::Session::stop() {
    isStillObserver();
    const bool isWritten = endRecording();
    release(); // a pass may come only behind the end
    return isWritten;
}

bool KXSessionRecorder::Session::endRecording() {
    std::unique_lock<std::mutex> guard(lock);
    if (file && isWaitingForRest)
        isWhole = fail(path + ": the recording is empty, because no moment of rest came");
    else if (file)
        file->add({timeOfEnd(), Recording::End()});
    const std::unique_ptr<Recording::File> ended = std::move(file);
    const bool wasWhole = std::exchange(isWhole, true);
    guard.unlock(); // the input goes on
    if (!ended || ended->finish())
        return wasWhole;
    guard.lock();
    return fail(*ended->problem());
}

// The clock may have gone back behind the last entry.
std::uint64_t KXSessionRecorder::Session::timeOfEnd() const {
    const auto sinceLast = static_cast<int>(KXTick::getTickCount() - static_cast<unsigned int>(lastMs));
    return lastMs + static_cast<unsigned int>(std::max(sinceLast, 0));
}

bool KXSessionRecorder::Session::save(const std::string& newPath) {
    isStillObserver();
    std::unique_lock<std::mutex> guard(lock);
    if (!isObserver)
        return fail(newPath + ": " + whyNoObserver);
    if (keptMs == 0)
        return fail(newPath + ": nothing is kept");
    const auto place = rests.lastBefore(lastMs > keptMs ? lastMs - keptMs : 0);
    if (!place)
        return fail(newPath + ": no moment of rest came, at which a recording can begin");
    SessionState state = stateAtBegin;
    const EntryLog::Copy before = log.copy(log.begin(), *place);
    const EntryLog::Copy kept = log.copy(*place, log.end());
    const std::uint64_t endMs = lastMs;
    guard.unlock(); // the input goes on
    std::string why;
    try {
        Recording::File saved(newPath);
        before.forEach([&state](const Entry& entry) { state.apply(entry.input); });
        addEntries(saved, state, kept, endMs);
        saved.add({endMs, Recording::End()});
        if (saved.finish())
            return true;
        saved.discard();
        why = *saved.problem();
    } catch (const std::runtime_error& error) {
        why = error.what();
    }
    guard.lock();
    return fail(why);
}

bool KXSessionRecorder::Session::fail(const std::string& what) {
    lastProblem = what;
    return false;
}

std::string KXSessionRecorder::Session::problem() const {
    const std::lock_guard<std::mutex> guard(lock);
    return lastProblem;
}

bool KXSessionRecorder::Session::isRecording() const {
    const std::lock_guard<std::mutex> guard(lock);
    return file != nullptr;
}

void KXSessionRecorder::Session::holdWorker() {
    if (isStillObserver())
        return keep(longestWorkerHold);
    const std::lock_guard<std::mutex> guard(lock);
    fail(whyNoObserver);
}

void KXSessionRecorder::Session::onSetting(KXInputSetting setting, std::int64_t value) {
    if (setting != KXInputSetting::KeyboardLayout) // no event depends on it
        note(Recording::NumberSetting{setting, value});
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
    note(std::move(post));
}

void KXSessionRecorder::Session::onSpeedTable(const std::vector<KXEncoderDynamicPair>& pairs) {
    note(Recording::SpeedTable{pairs});
    const std::lock_guard<std::mutex> guard(lock);
    knowsTable = true;
}

// A manager, new or old, tells its keys when it has told its settings and those of an encoder that it has made.
void KXSessionRecorder::Session::onKeyMapping(const std::map<int, int>& mapping) {
    ++probes;
    if (mapping.empty())
        return;
    note(Recording::KeyMapping{mapping});
    learnEncoder();
}

// Nobody tells of an encoder that was set before there was a recorder, nor of a table that it refused by then. A
// refused table changes when the encoder restarts.
void KXSessionRecorder::Session::learnEncoder() {
    bool knewTable = false;
    {
        const std::lock_guard<std::mutex> guard(lock);
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

// A replay checks the layout as the tools do. What they refuse would make the whole recording useless; its keys are
// recorded all the same, as the toolkit reports them.
void KXSessionRecorder::Session::onKeypad(const CANRemoteOptions& options) {
    if (!options.enabled)
        return;
    if (const auto wrong = KeyLayout::check(options, *KXInputEventManager::getKXtoOSCodeMap()))
        tell("the layout of the keypad is left out: " + wrong->text);
    else
        note(Recording::Keypad{std::make_shared<const CANRemoteOptions>(options)});
}

void KXSessionRecorder::Session::onPass(unsigned int tick) {
    const std::lock_guard<std::mutex> guard(lock);
    take(tick, Recording::Pass());
}

// The tick is read under the lock, so an entry that waited for another one is not earlier.
void KXSessionRecorder::Session::note(Input input) {
    const std::lock_guard<std::mutex> guard(lock);
    take(KXTick::getTickCount(), std::move(input));
}

void KXSessionRecorder::Session::take(unsigned int tick, Input&& input) {
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
    log.append(entry);
    lastMs = entry.timeMs;
    if (file)
        writeLast(entry);
    if (log.end().chunk != place.chunk)
        trim();
}

void KXSessionRecorder::Session::writeLast(const Entry& entry) {
    if (isWaitingForRest || rests.wasDisproved(beganAt)) {
        if (!rests.last())
            return waitForRest();
        const bool wasEmpty = isWaitingForRest;
        if ((wasEmpty || file->restart()) && beginFile())
            return;
        if (wasEmpty)
            file->discard();
        return endFile(*file->problem());
    }
    file->add(entry);
    if (!file->flush())
        endFile(*file->problem());
}

// What was written from a moment on that was no rest stays: it is better than nothing.
void KXSessionRecorder::Session::waitForRest() {
    if (!isWaitingForRest)
        endFile(path + ": the moment at which it began was no rest");
}

// The application goes on without its recording: the operator works with it.
void KXSessionRecorder::Session::endFile(const std::string& why) {
    isWhole = fail(why);
    file.reset();
    tell(lastProblem + "; the recording ends here");
}

// Nobody tells the observer of a manager's end. The next manager tells its settings while it is made, before the
// process has it. It knows nothing of the former one, and a replay makes only one manager.
void KXSessionRecorder::Session::forgetDeletedManager() {
    if (!hadManager || KXInputEventManager::hasInstance())
        return;
    hadManager = knowsEncoder = knowsTable = false;
    forgetAll({}, lastMs, "the manager was deleted and made anew");
    rests.addBeginning(log.begin());
}

// KXEncoderDynamic::initialize forgets the turn when it has set the user factor, and a new encoder knows none. A step
// with time stamp 0 looks the same, but it is not forgotten.
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
    log = EntryLog();
    rests = {};
    lastMs = presentMs;
}

void KXSessionRecorder::Session::trim() {
    const unsigned int neededMs = std::max(keptMs, leastKeptMs);
    const auto needed = rests.lastBefore(lastMs > neededMs ? lastMs - neededMs : 0);
    const auto apply = [this](const Entry& entry) { stateAtBegin.apply(entry.input); };
    if (needed)
        log.dropBefore(*needed, apply);
    while (log.bytes() > bytesFor(keptMs))
        log.dropBefore({log.begin().chunk + 1, 0, 0}, apply);
    rests.dropBefore(log.begin());
}

KXSessionRecorder::KXSessionRecorder(unsigned int keptMs) : session(std::make_unique<Session>(keptMs)) {
    if (!session->observe())
        tell(session->problem() + "; this one records nothing");
}

KXSessionRecorder::~KXSessionRecorder() = default;

bool KXSessionRecorder::start(const std::string& path) {
    return session->start(path);
}

bool KXSessionRecorder::stop() {
    return session->stop();
}

bool KXSessionRecorder::save(const std::string& path) {
    return session->save(path);
}

std::string KXSessionRecorder::problem() const {
    return session->problem();
}

bool KXSessionRecorder::isRecording() const {
    return session->isRecording();
}

void KXSessionRecorder::holdWorker() {
    session->holdWorker();
}

} // namespace KX
