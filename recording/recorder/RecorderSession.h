#pragma once

#include "recording/KXSessionRecorder.h"
#include "recording/KXWorkerHold.h"
#include "recording/format/RecordingFile.h"
#include "recording/format/RecordingFormat.h"
#include "recording/format/SessionState.h"
#include "recording/recorder/EntryLog.h"
#include "recording/recorder/RestPoints.h"

#include <cstddef>
#include <new>

namespace KX {

// Observes the manager, and keeps or writes what it sees.
//
// The manager calls the observer's operations with its mutex held. So an operation here that holds the lock may only
// read from the manager.
class KXSessionRecorder::Session final : public KXWorkerHold {
public:
    explicit Session(unsigned int keptMilliseconds) : keptMs(keptMilliseconds) { lastProblem.reserve(leastRoom); }
    ~Session() override { endObserving(); }

    bool observe() KX_EXCLUDES(lock);

    bool start(const std::string& path) KX_EXCLUDES(lock);
    bool stop() KX_EXCLUDES(lock);
    bool save(const std::string& path) KX_EXCLUDES(lock);
    std::string problem() const KX_EXCLUDES(lock);
    bool isRecording() const KX_EXCLUDES(lock);
    void holdWorker() KX_EXCLUDES(lock);

    void onToolkitEvent(const KXToolkitEvent& event) override {
        observeOrGiveUp([&] { note(event); });
    }
    void onInputEvent(const KXInputEvent& event) override {
        observeOrGiveUp([&] { note(event); });
    }
    void onPostedEvent(const KXEvent& event) override;
    void onSetting(KXInputSetting setting, std::int64_t value) override;
    void onSpeedTable(const std::vector<KXEncoderDynamicPair>& pairs) override;
    void onKeyMapping(const std::map<int, int>& mapping) override;
    void onKeypad(const CANRemoteOptions& options) override;
    void onFrame(const KXCANMessage& frame) override {
        observeOrGiveUp([&] { note(Recording::Frame{Recording::keypadBus, frame}); });
    }
    void onPass(unsigned int tick) override;

    // A line on standard error.
    static void tell(const std::string& text);

private:
    // A recorder without memory must not disturb the operator's work.
    template<class Step>
    void observeOrGiveUp(Step step) {
        try {
            step();
        } catch (const std::bad_alloc&) {
            giveUp();
        }
    }

    // For an operation of the application. What it changed before the exception is left as after any other
    // failure. Null: the path of the last recording.
    template<class Step>
    bool succeeds(const std::string* itsPath, Step step) {
        try {
            return step();
        } catch (const std::bad_alloc&) {
            return failWithoutMemory(itsPath);
        }
    }

    void giveUp() KX_EXCLUDES(lock);
    void endFileWithoutMemory() KX_REQUIRES(lock);
    bool failWithoutMemory(const std::string* itsPath) KX_EXCLUDES(lock);
    void beginObserving() KX_EXCLUDES(lock);
    void leave() KX_EXCLUDES(lock);
    void learnKeypad(const CANRemoteOptions& options) KX_EXCLUDES(lock);
    bool startOrThrow(const std::string& newPath) KX_EXCLUDES(lock);
    bool saveOrThrow(const std::string& newPath) KX_EXCLUDES(lock);
    void endObserving() KX_EXCLUDES(lock);
    bool isStillObserver() KX_EXCLUDES(lock);
    bool mayStart(const std::string& newPath) KX_REQUIRES(lock);
    bool startInto(std::unique_ptr<Recording::File> newFile, const std::string& newPath) KX_REQUIRES(lock);
    bool endRecording() KX_EXCLUDES(lock);
    std::uint64_t timeOfEnd() const KX_REQUIRES(lock);
    void note(Recording::Input input) KX_EXCLUDES(lock);
    void take(unsigned int tick, Recording::Input&& input) KX_REQUIRES(lock);
    void learnEncoder() KX_EXCLUDES(lock);
    void forgetDeletedManager() KX_REQUIRES(lock);
    void forgetTurn(const KXInputMemory& memory) KX_REQUIRES(lock);
    void forgetAll(Recording::SessionState presentState, std::uint64_t presentMs, const std::string& why)
        KX_REQUIRES(lock);
    void trim() KX_REQUIRES(lock);
    bool beginFile() KX_REQUIRES(lock);
    void writeLast(const Recording::Entry& entry) KX_REQUIRES(lock);
    bool isForeignFrame(const Recording::Input& input) const KX_REQUIRES(lock);
    bool isFileLost(std::uint64_t nowMs) KX_REQUIRES(lock);
    void beginAnew() KX_REQUIRES(lock);
    void endFile(const std::string& why) KX_REQUIRES(lock);
    bool fail(const std::string& what) KX_REQUIRES(lock);
    Recording::SessionState stateAt(const Recording::EntryLog::Place& place) const KX_REQUIRES(lock);

    static constexpr const char* noMemory = "no memory was left";
    static constexpr std::size_t leastRoom = 32; // for a problem of a recorder without memory

    const unsigned int keptMs;

    mutable KXStdMutex lock;
    bool isObserver KX_GUARDED_BY(lock) = false;
    bool hasGivenUp KX_GUARDED_BY(lock) = false; // an input is missing in the log; nothing more is noted
    const char* whyNoObserver KX_GUARDED_BY(lock) = "";
    Recording::EntryLog log KX_GUARDED_BY(lock);
    Recording::SessionState stateAtBegin KX_GUARDED_BY(lock); // of the log
    Recording::RestPoints rests KX_GUARDED_BY(lock);
    std::uint64_t lastMs KX_GUARDED_BY(lock) = 0;
    std::shared_ptr<const CANRemoteOptions> layout KX_GUARDED_BY(lock); // of the keypad
    bool hadManager KX_GUARDED_BY(lock) = false;                        // at the last entry
    bool knowsEncoder KX_GUARDED_BY(lock) = false;             // what was set before the recorder was there, too
    bool knowsTable KX_GUARDED_BY(lock) = false;               // of the encoder
    bool wasUserFactorSet KX_GUARDED_BY(lock) = false;         // by the last entry that is no pass
    std::unique_ptr<Recording::File> file KX_GUARDED_BY(lock); // of a recording that goes on
    std::string path KX_GUARDED_BY(lock);                      // of the last recording
    std::uint64_t lookedAtFileMs KX_GUARDED_BY(lock) = 0;      // whether it is still there and on the disk
    Recording::EntryLog::Place beganAt KX_GUARDED_BY(lock);    // the rest
    bool isWaitingForRest KX_GUARDED_BY(lock) = false;         // nothing is in the file yet
    bool beganAtNoRest KX_GUARDED_BY(lock) = false;            // as later input has shown
    bool isWhole KX_GUARDED_BY(lock) = true;                   // what was recorded since start
    std::string lastProblem KX_GUARDED_BY(lock);
};

} // namespace KX
