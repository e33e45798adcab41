#pragma once

#include "actions/KXActionQueue.h"
#include "input/KXInputEventManager.h"
#include "recording/KXRecording.h"
#include "recording/KXWorkerHold.h"
#include "terminal/actions/ActionDesk.h"
#include "terminal/events/EventModel.h"
#include "terminal/events/EventText.h"
#include "terminal/keypad/KeypadBus.h"
#include "terminal/look/DisplayPace.h"
#include "terminal/session/CommandLine.h"
#include "terminal/session/ProcessSignals.h"
#include "terminal/session/SavedSessions.h"
#include "terminal/session/StepSpacing.h"
#include "terminal/settings/InputSettings.h"
#include "terminal/window/MainWindow.h"
#include "toolkit/KXEventNotifier.h"
#include "toolkit/KXToolkitLayer.h"

#include <cstddef>
#include <memory>
#include <optional>

namespace KX {
class KXSessionRecorder;
}

namespace Progress {
class Reporter;
}

namespace Terminal {

class DemoSession;
class ReplayTransport;
class RecordingLabel;
class SessionPlayer;

struct DeleteManager {
    void operator()(KX::KXInputEventManager* /*manager*/) const { KX::KXInputEventManager::deleteInstance(); }
};
using Manager = std::unique_ptr<KX::KXInputEventManager, DeleteManager>;

struct ReleaseActions {
    void operator()(KX::KXActionQueue* /*queue*/) const { KX::KXActionQueue::release(); }
};
using ActionQueue = std::unique_ptr<KX::KXActionQueue, ReleaseActions>;

/// Keeps the worker from its passes during a replay, which makes the recorded ones itself.
class HeldWorker {
public:
    HeldWorker() { KX::KXInputEventManager::setObserver(&hold); }
    ~HeldWorker() {
        hold.release();
        KX::KXInputEventManager::setObserver(nullptr);
    }

    HeldWorker(const HeldWorker&) = delete;
    HeldWorker& operator=(const HeldWorker&) = delete;

    void keep() { hold.keep(); }
    void release() { hold.release(); }

private:
    KX::KXWorkerHold hold;
};

/// All parts of kxterminal, and what connects them.
class Terminal {
public:
    /// Takes what it needs of the system.
    /// \param settings  must outlive this object
    /// \throws SettingsError, FileError  a file or a bus of the settings cannot be used
    explicit Terminal(const CommandLine& settings);
    ~Terminal();

    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    /// Shows the window until it is closed, the process is told to end, or its time is over.
    /// \return exit status: 0; 1 when not all was recorded, printed or drawn into the picture
    int run();

private:
    void openKeypad();
    void openReplay();
    KX::Recording::Session readReplay() const;
    void setPart();
    std::unique_ptr<SessionPlayer> makePlayer();
    void renew();
    void repeatSetting(const KX::Recording::NumberSetting& setting);
    void connectParts();
    void connectViews();
    void connectEvents();
    void connectTransport();
    void showRecording();
    void takeEvent(const KX::KXInputEvent& event);
    void print(const KX::KXInputEvent& event);
    void takeReport(KX::KXToolkitEvent& event);
    QString saveInto(const QString& path);
    void saveSession();
    void scheduleEnd();
    void showReplayProgress();
    bool endSession();
    int writePicture();

    // Members are destroyed from the last to the first. Input ends before the notifier, then the manager's thread,
    // which posts the keypad's keys to the window. The queue of actions outlives all that posts to it, but not the
    // actions.
    const CommandLine& settings;
    ProcessSignals processSignals;
    const KX::CANRemoteOptions layout; // of the keypad; read before a recording is begun in vain
    KeypadBus bus;
    EventPrinter printer;
    EventModel model;
    InputSettings inputSettings;
    MainWindow window;
    std::unique_ptr<ActionDesk> desk;
    ActionQueue actionQueue;
    std::unique_ptr<KX::KXSessionRecorder> recorder;
    RecordingLabel* recordingLabel = nullptr; // the window's; there is one while there is a recorder
    const SavedSessions savedSessions;
    bool isSaveLost = false;
    SaveChord saveChord;
    Manager manager;
    StepSpacing stepSpacing;
    std::optional<HeldWorker> heldWorker; // of a replay
    DisplayPace pace;
    std::unique_ptr<KX::KXEventNotifier> notifier;
    KX::KXToolkitLayer toolkitLayer;
    std::unique_ptr<DemoSession> demo;
    std::shared_ptr<const KX::Recording::Session> session; // of a replay
    std::unique_ptr<ReplayTransport> transport;
    std::unique_ptr<Progress::Reporter> replayProgress;
    std::size_t replayedInputs = 0;
};

} // namespace Terminal
