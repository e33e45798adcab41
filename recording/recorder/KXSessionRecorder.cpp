#include "recording/KXSessionRecorder.h"

#include "input/KXInputEventManager.h"
#include "platform/KXTick.h"
#include "recording/recorder/RecorderSession.h"

#include <algorithm>
#include <atomic>
#include <new>
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

bool KXSessionRecorder::Session::observe() {
    if (isObserved.exchange(true)) {
        const KXLockGuard guard(lock);
        whyNoObserver = "another recorder observes the session";
        return fail(whyNoObserver);
    }
    try {
        beginObserving();
        return true;
    } catch (...) {
        leave();
        throw;
    }
}

// The manager tells its settings in setObserver, so the lock must be free.
void KXSessionRecorder::Session::beginObserving() {
    KXUniqueLock guard(lock);
    hadManager = knowsEncoder = knowsTable = hasGivenUp = false;
    forgetAll({}, KXTick::getTickCount(), "");
    guard.unlock();
    KXInputEventManager::setObserver(this);
    guard.lock();
    if (hasGivenUp)
        throw std::bad_alloc();
    isObserver = true;
    if (log.bytes() == 0)
        rests.addBeginning(log.begin());
}

void KXSessionRecorder::Session::leave() {
    if (KXInputEventManager::getObserver() == this)
        KXInputEventManager::setObserver(nullptr);
    const KXLockGuard guard(lock);
    isObserver = isObserved = false;
}

void KXSessionRecorder::Session::endObserving() {
    stop();
    if (isStillObserver())
        leave();
}

// Nobody tells an observer that another one has taken its place.
bool KXSessionRecorder::Session::isStillObserver() {
    KXUniqueLock guard(lock);
    if (hasGivenUp && isObserver) {
        whyNoObserver = noMemory;
        guard.unlock();
        leave();
        return false;
    }
    if (!isObserver || KXInputEventManager::getObserver() == this)
        return isObserver;
    isObserver = isObserved = false;
    whyNoObserver = "another observer has taken the place of the recorder";
    if (file)
        endFile(path + ": " + whyNoObserver);
    return false;
}

bool KXSessionRecorder::Session::start(const std::string& newPath) {
    return succeeds(
        &newPath, [&] { return startOrThrow(newPath); });
}

bool KXSessionRecorder::Session::startOrThrow(const std::string& newPath) {
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
    isWhole = true;
    file = std::move(newFile);
    beganAtNoRest = false;
    isWaitingForRest = true; // until all is well, so that nothing is written
    try {
        path = newPath;
        forgetDeletedManager();
        isWaitingForRest = !rests.last();
        if (isWaitingForRest || beginFile())
            return true;
        fail(*file->problem());
    } catch (...) {
        std::exchange(file, nullptr)->discard();
        throw;
    }
    std::exchange(file, nullptr)->discard();
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
    const bool isWritten = succeeds(nullptr, [this] {
        isStillObserver();
        return endRecording();
    });
    release(); // a pass may come only behind the end
    return isWritten;
}

// It has ended even if memory is lacking for its end.
bool KXSessionRecorder::Session::endRecording() {
    KXUniqueLock guard(lock);
    const std::unique_ptr<Recording::File> ended = std::move(file);
    const bool wasEmpty = std::exchange(isWaitingForRest, false);
    const bool beganAtRest = !std::exchange(beganAtNoRest, false);
    const bool wasWhole = std::exchange(isWhole, true);
    const std::uint64_t endMs = timeOfEnd();
    if (ended && wasEmpty) {
        ended->discard();
        return fail(path + ": the recording is empty, because no moment of rest came");
    }
    guard.unlock(); // the input goes on
    if (!ended)
        return wasWhole;
    ended->add({endMs, Recording::End()});
    const bool isWritten = ended->finish();
    if (isWritten && beganAtRest)
        return wasWhole;
    guard.lock();
    return fail(isWritten ? path + ": the moment at which it began was no rest" : *ended->problem());
}

// The clock may have gone back behind the last entry.
std::uint64_t KXSessionRecorder::Session::timeOfEnd() const {
    const auto sinceLast = static_cast<int>(KXTick::getTickCount() - static_cast<unsigned int>(lastMs));
    return lastMs + static_cast<unsigned int>(std::max(sinceLast, 0));
}

bool KXSessionRecorder::Session::save(const std::string& newPath) {
    return succeeds(
        &newPath, [&] { return saveOrThrow(newPath); });
}

bool KXSessionRecorder::Session::saveOrThrow(const std::string& newPath) {
    const bool isObserving = isStillObserver();
    KXUniqueLock guard(lock);
    if (!isObserving && whyNoObserver == noMemory) {
        guard.unlock();
        observe(); // for the next call
        throw std::bad_alloc();
    }
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
    before.forEach([&state](const Entry& entry) { state.apply(entry.input); });
    std::string why;
    try {
        Recording::writeNewFile(newPath, [&](Recording::File& saved) {
            addEntries(saved, state, kept, endMs);
            saved.add({endMs, Recording::End()});
        });
        return true;
    } catch (const std::runtime_error& error) {
        why = error.what();
    }
    guard.lock();
    return fail(why);
}

// May run in a process that has no memory at all.
bool KXSessionRecorder::Session::failWithoutMemory(const std::string* itsPath) {
    const KXLockGuard guard(lock);
    try {
        return fail((itsPath ? *itsPath : path) + ": " + noMemory);
    } catch (const std::bad_alloc&) {
        lastProblem.assign(noMemory); // which has room
        return false;
    }
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
    succeeds(nullptr, [&] {
        const KXLockGuard guard(lock);
        return fail(whyNoObserver);
    });
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
