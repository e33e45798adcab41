#include "recording/KXSessionRecorder.h"

#include "input/KXInputEventManager.h"
#include "platform/KXTick.h"
#include "recording/recorder/RecorderSession.h"

#include <algorithm>
#include <atomic>
#include <utility>

namespace KX {

namespace {

using Recording::Entry;
using Recording::EntryLog;
using Recording::Input;
using Recording::SessionState;

// Taking the last events needs some milliseconds, even on a slow machine.
constexpr unsigned int mostWorkerHoldMs = 5000;

std::atomic<bool> isObserved{false};

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

// The manager tells its settings in setObserver, so the lock must be free.
bool KXSessionRecorder::Session::observe() {
    KXUniqueLock guard(lock);
    if (isObserved.exchange(true)) {
        whyNoObserver = "another recorder observes the session";
        return fail(whyNoObserver);
    }
    hadManager = knowsEncoder = knowsTable = false;
    forgetAll({}, KXTick::getTickCount(), "");
    guard.unlock();
    try {
        KXInputEventManager::setObserver(this);
    } catch (...) {
        isObserved = false;
        throw;
    }
    guard.lock();
    isObserver = true;
    if (log.bytes() == 0)
        rests.addBeginning(log.begin());
    return true;
}

void KXSessionRecorder::Session::endObserving() {
    stop();
    if (!isStillObserver())
        return;
    KXInputEventManager::setObserver(nullptr);
    isObserved = false;
}

// Nobody tells an observer that another one has taken its place.
bool KXSessionRecorder::Session::isStillObserver() {
    const KXLockGuard guard(lock);
    if (!isObserver || KXInputEventManager::getObserver() == this)
        return isObserver;
    isObserver = isObserved = false;
    whyNoObserver = "another observer has taken the place of the recorder";
    if (file)
        endFile(path + ": " + whyNoObserver);
    return false;
}

bool KXSessionRecorder::Session::start(const std::string& newPath) {
    if (!isStillObserver())
        observe();
    KXUniqueLock guard(lock);
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
    beganAtNoRest = false;
    if (isWaitingForRest || beginFile())
        return true;
    fail(*file->problem());
    file->discard();
    file.reset();
    return false;
}

// From the last rest on. The pass that showed the rest is in the log already.
bool KXSessionRecorder::Session::beginFile() {
    isWaitingForRest = beganAtNoRest = false;
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
    KXUniqueLock guard(lock);
    if (file && isWaitingForRest)
        isWhole = fail(path + ": the recording is empty, because no moment of rest came");
    else if (file)
        file->add({timeOfEnd(), Recording::End()});
    if (file && beganAtNoRest)
        isWhole = fail(path + ": the moment at which it began was no rest");
    const std::unique_ptr<Recording::File> ended = std::move(file);
    const bool wasEmpty = std::exchange(isWaitingForRest, false);
    const bool wasWhole = std::exchange(isWhole, true);
    guard.unlock(); // the input goes on
    if (ended && wasEmpty)
        ended->discard();
    else if (ended && !ended->finish()) {
        guard.lock();
        return fail(*ended->problem());
    }
    return wasWhole;
}

// The clock may have gone back behind the last entry.
std::uint64_t KXSessionRecorder::Session::timeOfEnd() const {
    const auto sinceLast = static_cast<int>(KXTick::getTickCount() - static_cast<unsigned int>(lastMs));
    return lastMs + static_cast<unsigned int>(std::max(sinceLast, 0));
}

bool KXSessionRecorder::Session::save(const std::string& newPath) {
    isStillObserver();
    KXUniqueLock guard(lock);
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
    const KXLockGuard guard(lock);
    return lastProblem;
}

bool KXSessionRecorder::Session::isRecording() const {
    const KXLockGuard guard(lock);
    return file != nullptr;
}

void KXSessionRecorder::Session::holdWorker() {
    if (isStillObserver())
        return keep(mostWorkerHoldMs);
    const KXLockGuard guard(lock);
    fail(whyNoObserver);
}

KXSessionRecorder::KXSessionRecorder(unsigned int keptMs) : session(std::make_unique<Session>(keptMs)) {
    if (!session->observe())
        Session::tell(session->problem() + "; this one records nothing");
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
