#include "terminal/session/Terminal.h"

#include "encoder/KXEncoderDynamic.h"
#include "recording/KXFunctionKeys.h"
#include "recording/KXKeyLayout.h"
#include "recording/KXRecordedCalls.h"
#include "recording/KXSessionRecorder.h"
#include "terminal/actions/ActionPanel.h"
#include "terminal/encoder/EncoderView.h"
#include "terminal/keypad/KeypadPanel.h"
#include "terminal/look/KeyCodes.h"
#include "terminal/session/DemoSession.h"
#include "terminal/session/PictureFile.h"
#include "terminal/session/RecordingState.h"
#include "terminal/session/ReplayTransport.h"
#include "terminal/session/SessionPlayer.h"
#include "terminal/session/TransportBar.h"
#include "terminal/window/SoftKeyBar.h"
#include "tools/arguments/BadInput.h"
#include "tools/progress/Progress.h"

#include <QApplication>
#include <QFileInfo>
#include <QImage>
#include <QPixmap>
#include <QTimer>

#include <cstdio>
#include <cstring>
#include <limits>

namespace Terminal {

namespace {

KX::CANRemoteOptions readLayout(const QString& file) {
    const KX::KeyLayout::ToolkitKeys keyCodes = KX::KeyLayout::keyCodesOfTerminal();
    if (file.isEmpty())
        return KX::KeyLayout::builtIn();
    try {
        return KX::KeyLayout::readFile(file.toLocal8Bit().toStdString(), keyCodes);
    } catch (const std::runtime_error& error) {
        throw FileError(error.what());
    }
}

// Whatever fails only when the session is over was in vain.
void checkOutputs(const CommandLine& settings) {
    if (settings.keptMinutes > 0)
        if (const QString problem = SavedSessions::whyUnusable(settings.saveTo); !problem.isEmpty())
            throw FileError(problem.toLocal8Bit().toStdString());
    if (!settings.screenshotFile.isEmpty())
        if (const QString problem = PictureFile(settings.screenshotFile).whyUnusable(); !problem.isEmpty())
            throw SettingsError(problem.toLocal8Bit().toStdString());
}

const CommandLine& checked(const CommandLine& settings) {
    checkOutputs(settings);
    return settings;
}

std::unique_ptr<KX::KXSessionRecorder> startRecording(const CommandLine& settings) {
    constexpr unsigned int msPerMinute = 60000;
    if (settings.recordFile.isEmpty() && settings.keptMinutes == 0)
        return nullptr;
    auto recorder =
        std::make_unique<KX::KXSessionRecorder>(msPerMinute * static_cast<unsigned int>(settings.keptMinutes));
    if (!settings.recordFile.isEmpty() && !recorder->start(settings.recordFile.toLocal8Bit().toStdString()))
        throw FileError(recorder->problem());
    return recorder;
}

} // namespace

Terminal::Terminal(const CommandLine& commandLine)
    : settings(checked(commandLine)), layout(readLayout(settings.keypadFile)), bus(settings.canBus),
      printer(stdout), inputSettings([this](KX::KXInputSetting setting, int value) {
          return KX::Recording::repeatCall(KX::Recording::NumberSetting{setting, value}, *manager);
      }),
      window(model, inputSettings), desk(std::make_unique<ActionDesk>()), actionQueue(KX::KXActionQueue::create()),
      recorder(startRecording(settings)),
      savedSessions(settings.saveTo, settings.mostSaved, [this](const QString& path) { return saveInto(path); }),
      manager(KX::KXInputEventManager::createInstance()),
      stepSpacing([this](KX::KXToolkitEvent& event) { KX::Recording::repeatCall(event, *manager); }),
      notifier(std::make_unique<KX::KXEventNotifier>()), toolkitLayer(window) {
    toolkitLayer.setReport([this](KX::KXToolkitEvent& event) { takeReport(event); });
    if (settings.replayFile.isEmpty()) {
        manager->setKeyMapping(KeyCodes::functionKeys());
        openKeypad();
    } else {
        openReplay(); // a recording tells which keys its application knew
    }
    connectParts();
    connectViews();
    connectEvents();
    if (transport)
        connectTransport();
    showRecording();
}

Terminal::~Terminal() = default;

QString Terminal::saveInto(const QString& path) {
    return recorder->save(path.toLocal8Bit().toStdString()) ? QString()
                                                            : QString::fromLocal8Bit(recorder->problem().c_str());
}

void Terminal::saveSession() {
    SavedSessions::Outcome outcome;
    if (settings.keptMinutes == 0)
        outcome.problem = QStringLiteral("nothing is kept without --keep-last");
    else
        outcome = savedSessions.save(QDateTime::currentDateTime());
    std::fprintf(stderr, "kxterminal: %s\n", outcome.text().toLocal8Bit().constData());
    if (settings.keptMinutes == 0)
        return;
    isSaveLost = isSaveLost || !outcome.problem.isEmpty();
    recordingLabel->tellSaved(outcome);
}

void Terminal::takeReport(KX::KXToolkitEvent& event) {
    const bool saves = saveChord.take(event); // before the manager changes the event
    // A replay takes the place of the operator, who may still look around in the window.
    if (!transport)
        stepSpacing.take(event);
    const bool isKeyDown = event.eventType == KX::TOOLKIT_KEY_PRESS_EVENT ||
                           event.eventType == KX::TOOLKIT_KEY_AUTO_REPEAT_PRESS_EVENT;
    if (transport && isKeyDown && transport->takeKey(event.osKeyCode))
        return;
    window.takeReport(event);
    if (saves)
        saveSession();
}

// A duration may be longer than the window can set it.
void Terminal::repeatSetting(const KX::Recording::NumberSetting& setting) {
    if (setting.value <= std::numeric_limits<int>::max())
        inputSettings.set(setting.name, static_cast<int>(setting.value));
    else
        KX::Recording::repeatCall(setting, *manager);
}

KX::Recording::Session Terminal::readReplay() const {
    const std::string file = settings.replayFile.toLocal8Bit().toStdString();
    KX::Recording::Session read;
    try {
        read = KX::Recording::readFile(
            file, [](const std::string& warning) { std::fprintf(stderr, "%s\n", warning.c_str()); });
    } catch (const KX::Recording::BadFile& error) {
        throw FileError(error.what());
    }
    if (read.isPlainLog)
        throw FileError(
            file + ": a log of a CAN bus; play it onto the bus of a terminal with kxcan play, or with kxreplay");
    if (read.entries.empty())
        throw FileError((file == "-" ? "standard input" : file) + ": there is nothing to play in it");
    return read;
}

void Terminal::openReplay() {
    heldWorker.emplace();
    heldWorker->keep();
    session = std::make_shared<const KX::Recording::Session>(readReplay());
    replayProgress =
        std::make_unique<Progress::Reporter>("kxterminal", "inputs replayed", session->entries.size());
    window.beginReplay(QFileInfo(settings.replayFile).fileName());
    transport = std::make_unique<ReplayTransport>(ReplayTransport::Stage{
        [this] { renew(); }, [this] { return makePlayer(); }, [this] { notifier->takeWaitingEvents(); }});
    setPart();
    window.addBelowHeader(new TransportBar(*transport, settings.speed));
}

void Terminal::setPart() {
    const std::uint64_t firstMs = session->entries.front().timeMs;
    const std::uint64_t lastMs = transport->player().lastMs();
    const std::uint64_t fromMs = settings.from ? settings.from->inSession(firstMs) : firstMs;
    const std::uint64_t toMs = settings.to ? settings.to->inSession(firstMs) : lastMs;
    const auto ticks = [](std::uint64_t ms) { return std::to_string(static_cast<std::uint32_t>(ms)); };
    if (fromMs > lastMs)
        throw SettingsError("--from: tick " + ticks(fromMs) + " is not in the recording (" + ticks(firstMs) +
                            " to " + ticks(lastMs) + ")");
    if (settings.to && toMs < fromMs)
        throw SettingsError("--to: tick " + ticks(toMs) + " is before --from, tick " + ticks(fromMs));
    transport->setPart(fromMs, toMs);
}

std::unique_ptr<SessionPlayer> Terminal::makePlayer() {
    auto player = std::make_unique<SessionPlayer>(
        session, settings.speed, *manager,
        [this](const KX::Recording::NumberSetting& setting) { repeatSetting(setting); });
    QObject::connect(
        player.get(), &SessionPlayer::speedTableChanged, &window, [this] { showSpeedTable(window.encoder()); });
    QObject::connect(player.get(), &SessionPlayer::framePassed, &window,
                     [this](const KX::KXCANMessage& frame) { window.keypad().showFrame(frame); });
    window.keypad().setLayoutOfKeys(player->keypadLayout());
    return player;
}

// A replay that goes back begins with a new manager, since nothing makes the old one forget what it got.
void Terminal::renew() {
    notifier.reset();
    pace.drop();
    actionQueue.reset();
    heldWorker->release();
    manager.reset();
    manager.reset(KX::KXInputEventManager::createInstance());
    heldWorker->keep();
    inputSettings.restoreDefaults();
    inputSettings.set(KX::KXInputSetting::AcceptInput, 1);
    desk = std::make_unique<ActionDesk>();
    actionQueue.reset(KX::KXActionQueue::create());
    model.clear();
    window.renewViews();
    connectViews();
    notifier = std::make_unique<KX::KXEventNotifier>();
    connectEvents();
}

void Terminal::openKeypad() {
    if (const auto problem = KX::KeyLayout::check(layout, *KX::KXInputEventManager::getKXtoOSCodeMap()))
        throw SettingsError("the layout of the keypad: " + problem->text);
    KeypadPanel& keypad = window.keypad();
    keypad.setLayoutOfKeys(layout);
    manager->setCANRemoteOptions(layout);
    bus.connectToListener();
    keypad.watchBus([this] { return bus.status(); });
    QObject::connect(&keypad, &KeypadPanel::frameChanged, &keypad, [this, &keypad](const KX::KXCANMessage& frame) {
        keypad.showFault(bus.send(frame).value_or(QString()));
    });
}

void Terminal::connectParts() {
    QObject::connect(&pace, &DisplayPace::due, &model, &EventModel::append);
    QObject::connect(&processSignals, &ProcessSignals::terminationRequested, qApp, &QCoreApplication::quit);
    QObject::connect(&processSignals, &ProcessSignals::saveRequested, qApp, [this] { saveSession(); });
}

void Terminal::connectViews() {
    ActionPanel& panel = window.actions();
    QObject::connect(&window.softKeyBar(), &SoftKeyBar::keyWentDown, desk.get(), &ActionDesk::softKeyWentDown);
    QObject::connect(&panel, &ActionPanel::loopRequested, desk.get(), &ActionDesk::startLoop);
    panel.watch(*desk);
    watchEncoder(window.encoder(), inputSettings);
}

void Terminal::connectEvents() {
    QObject::connect(
        notifier.get(), &KX::KXEventNotifier::eventOccurred, notifier.get(),
        [this](const KX::KXInputEvent& event) { takeEvent(event); });
}

void Terminal::connectTransport() {
    QObject::connect(transport.get(), &ReplayTransport::changed, &window, [this] { showReplayProgress(); });
    // Queued: a replay of nothing has finished before the event loop runs, which is to quit.
    if (settings.exitAtEnd)
        QObject::connect(transport.get(), &ReplayTransport::finished, qApp, &QCoreApplication::quit,
                         Qt::QueuedConnection);
}

void Terminal::showRecording() {
    if (!recorder)
        return;
    recordingLabel = new RecordingLabel(RecordingState(
        {!settings.recordFile.isEmpty(), settings.keptMinutes, [this] { return recorder->isRecording(); },
         [this] { return QString::fromLocal8Bit(recorder->problem().c_str()); }}));
    window.addStatus(recordingLabel);
}

void Terminal::takeEvent(const KX::KXInputEvent& event) {
    if (transport && !transport->takeEvent())
        return;
    desk->takeEvent(event);
    pace.take(event);
    if (settings.print && (!transport || transport->isNew()))
        print(event);
}

void Terminal::print(const KX::KXInputEvent& event) {
    const bool hadFailed = printer.error() != 0;
    printer.print(event);
    if (printer.error() != 0 && !hadFailed)
        std::fprintf(stderr, "kxterminal: standard output: %s\n", std::strerror(printer.error()));
}

void Terminal::scheduleEnd() {
    if (settings.exitAfterMs)
        QTimer::singleShot(*settings.exitAfterMs, Qt::PreciseTimer, qApp, &QCoreApplication::quit);
    if (transport)
        transport->start();
    if (!settings.demo)
        return;
    demo = std::make_unique<DemoSession>(window);
    QObject::connect(demo.get(), &DemoSession::finished, qApp, &QCoreApplication::quit);
    demo->start();
}

void Terminal::showReplayProgress() {
    const std::uint64_t length = transport->lengthMs();
    window.showReplayProgress(length == 0 ? 100 : static_cast<int>(100 * transport->positionMs() / length));
    for (; replayedInputs < transport->player().playedInputs(); ++replayedInputs)
        replayProgress->countOne();
}

int Terminal::run() {
    if (settings.fullScreen) {
        window.showFullScreen();
    } else {
        window.coverScreen();
        window.show();
    }
    // The keypad's keys go to the active window, also where no window manager makes one active.
    window.activateWindow();
    scheduleEnd();
    QCoreApplication::exec();
    const bool isRecorded = endSession();
    pace.flush();
    window.actions().showState(*desk);
    const int pictureStatus = settings.screenshotFile.isEmpty() ? 0 : writePicture();
    return isRecorded && !isSaveLost && printer.error() == 0 ? pictureStatus : Arguments::failureStatus;
}

// Takes the last events, and ends the recording before another pass of the worker can make more of them.
// Returns whether what was to be recorded is.
bool Terminal::endSession() {
    if (recorder)
        recorder->holdWorker();
    while (manager->hasEvents())
        notifier->takeWaitingEvents();
    return !recorder || recorder->stop();
}

int Terminal::writePicture() {
    // A text that has just changed may have asked for another place.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
    const QString problem = PictureFile(settings.screenshotFile).write(window.grab().toImage());
    if (problem.isEmpty())
        return 0;
    std::fprintf(stderr, "kxterminal: %s\n", problem.toLocal8Bit().constData());
    return Arguments::failureStatus;
}

} // namespace Terminal
