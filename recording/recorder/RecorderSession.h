#pragma once

#include "recording/KXSessionRecorder.h"
#include "recording/KXWorkerHold.h"
#include "recording/format/RecordingFile.h"
#include "recording/format/RecordingFormat.h"
#include "recording/format/SessionState.h"
#include "recording/recorder/EntryLog.h"
#include "recording/recorder/RestPoints.h"

#include <cstddef>
#include <mutex>
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

    bool observe();

    bool start(const std::string& path);
    bool stop();
    bool save(const std::string& path);
    std::string problem() const;
    bool isRecording() const;
    void holdWorker();

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

    // For an operation of the application. What it changed before the exception is left as after any other failure.
    template<class Step>
    bool succeeds(const std::string& itsPath, Step step) {
        try {
            return step();
        } catch (const std::bad_alloc&) {
            return failWithoutMemory(itsPath);
        }
    }

    void giveUp();
    void endFileWithoutMemory();
    bool failWithoutMemory(const std::string& itsPath);
    void beginObserving();
    void endObserving();
    void leave();
    bool isStillObserver();
    void learnKeypad(const CANRemoteOptions& options);
    bool startOrThrow(const std::string& newPath);
    bool saveOrThrow(const std::string& newPath);
    bool mayStart(const std::string& newPath);
    bool startInto(std::unique_ptr<Recording::File> newFile, const std::string& newPath);
    bool endRecording();
    std::uint64_t timeOfEnd() const;
    void note(Recording::Input input);
    void take(unsigned int tick, Recording::Input&& input);
    void learnEncoder();
    void forgetDeletedManager();
    void forgetTurn(const KXInputMemory& memory);
    void forgetAll(Recording::SessionState presentState, std::uint64_t presentMs, const std::string& why);
    void trim();
    bool beginFile();
    void writeLast(const Recording::Entry& entry);
    bool isForeignFrame(const Recording::Input& input) const;
    bool isFileLost(std::uint64_t nowMs);
    void waitForRest();
    void endFile(const std::string& why);
    bool fail(const std::string& what);
    Recording::SessionState stateAt(const Recording::EntryLog::Place& place) const;

    static constexpr const char* noMemory = "no memory was left";
    static constexpr std::size_t leastRoom = 32; // for a problem of a recorder without memory

    const unsigned int keptMs;

    mutable std::mutex lock; // guards the members below
    bool isObserver = false;
    bool hasGivenUp = false; // an input is missing in the log; nothing more is noted
    const char* whyNoObserver = "";
    Recording::EntryLog log;
    Recording::SessionState stateAtBegin; // of the log
    Recording::RestPoints rests;
    std::uint64_t lastMs = 0;
    std::shared_ptr<const CANRemoteOptions> layout; // of the keypad
    bool hadManager = false;                        // at the last entry
    bool knowsEncoder = false;                      // what was set before the recorder was there, too
    bool knowsTable = false;                        // of the encoder
    bool wasUserFactorSet = false;                  // by the last entry that is no pass
    std::unique_ptr<Recording::File> file;          // of a recording that goes on
    std::string path;                               // of the last recording
    std::uint64_t lookedAtFileMs = 0;               // whether it is still there and on the disk
    Recording::EntryLog::Place beganAt;             // the rest
    bool isWaitingForRest = false;                  // nothing is in the file yet
    bool isWhole = true;                            // what was recorded since start
    std::string lastProblem;
};

} // namespace KX
