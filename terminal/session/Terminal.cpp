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
#include "terminal/session/SessionPlayer.h"
#include "terminal/window/SoftKeyBar.h"
#include "tools/progress/Progress.h"

#include <QApplication>
#include <QFileInfo>
#include <QImage>
#include <QImageWriter>
#include <QPixmap>
#include <QTimer>

#include <cstdio>
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
    : settings(commandLine), layout(readLayout(settings.keypadFile)), bus(settings.canBus), printer(stdout),
      inputSettings([this](KX::KXInputSetting setting, int value) {
          return KX::Recording::repeatCall(KX::Recording::NumberSetting{setting, value}, *manager);
      }),
      window(model, inputSettings), actionQueue(KX::KXActionQueue::create()), recorder(startRecording(settings)),
      savedSessions(settings.saveFolder, settings.mostSaved,
                    [this](const QString& path) { return saveInto(path); }),
      manager(KX::KXInputEventManager::createInstance()), toolkitLayer(window) {
    toolkitLayer.setReport([this](KX::KXToolkitEvent& event) { takeReport(event); });
    if (settings.replayFile.isEmpty()) {
        manager->setKeyMapping(KeyCodes::functionKeys());
        openKeypad();
    } else {
        openReplay(); // a recording tells which keys its application knew
    }
    connectParts();
    connectActions();
}

Terminal::~Terminal() = default;

QString Terminal::saveInto(const QString& path) {
    return recorder->save(path.toLocal8Bit().toStdString()) ? QString()
                                                            : QString::fromLocal8Bit(recorder->problem().c_str());
}

void Terminal::saveSession() {
    const QString told = settings.keptMinutes == 0
                             ? QStringLiteral("not saved: nothing is kept without --keep-last")
                             : savedSessions.save(QDateTime::currentDateTime());
    std::fprintf(stderr, "kxterminal: %s\n", told.toLocal8Bit().constData());
}

void Terminal::takeReport(KX::KXToolkitEvent& event) {
    const bool saves = saveChord.take(event); // before the manager changes the event
    // A replay takes the place of the operator, who may still look around in the window.
    if (!player)
        KX::Recording::repeatCall(event, *manager);
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

void Terminal::openReplay() {
    heldWorker.emplace();
    heldWorker->keep();
    KX::Recording::Session session;
    try {
        session = KX::Recording::readFile(
            settings.replayFile.toLocal8Bit().toStdString(),
            [](const std::string& warning) { std::fprintf(stderr, "%s\n", warning.c_str()); });
    } catch (const KX::Recording::BadFile& error) {
        throw FileError(error.what());
    }
    if (session.isPlainLog)
        throw FileError(
            settings.replayFile.toLocal8Bit().toStdString() +
            ": a log of a CAN bus; play it onto the bus of a terminal with kxcan play, or with kxreplay");
    replayProgress = std::make_unique<Progress::Reporter>("kxterminal", "inputs replayed", session.entries.size());
    window.beginReplay(QFileInfo(settings.replayFile).fileName());
    player = std::make_unique<SessionPlayer>(
        std::move(session), settings.speed, *manager,
        [this](const KX::Recording::NumberSetting& setting) { repeatSetting(setting); });
    QObject::connect(player.get(), &SessionPlayer::speedTableChanged, &window.encoder(),
                     [this] { showSpeedTable(window.encoder()); });
    KeypadPanel& keypad = window.keypad();
    keypad.setLayoutOfKeys(player->keypadLayout());
    QObject::connect(player.get(), &SessionPlayer::framePassed, &keypad, &KeypadPanel::showFrame);
}

void Terminal::openKeypad() {
    if (const auto problem = KX::KeyLayout::check(layout, *KX::KXInputEventManager::getKXtoOSCodeMap()))
        throw SettingsError("the layout of the keypad: " + problem->text);
    KeypadPanel& keypad = window.keypad();
    keypad.setLayoutOfKeys(layout);
    manager->setCANRemoteOptions(layout);
    bus.connectToListener();
    QObject::connect(&keypad, &KeypadPanel::frameChanged, &keypad, [this, &keypad](const KX::KXCANMessage& frame) {
        keypad.showFault(bus.send(frame).value_or(QString()));
    });
}

void Terminal::connectActions() {
    ActionPanel& panel = window.actions();
    QObject::connect(&notifier, &KX::KXEventNotifier::eventOccurred, &desk, &ActionDesk::takeEvent);
    QObject::connect(&window.softKeyBar(), &SoftKeyBar::keyWentDown, &desk, &ActionDesk::softKeyWentDown);
    QObject::connect(&panel, &ActionPanel::loopRequested, &desk, &ActionDesk::startLoop);
    panel.watch(desk);
}

void Terminal::connectParts() {
    watchEncoder(window.encoder(), inputSettings);
    QObject::connect(&notifier, &KX::KXEventNotifier::eventOccurred, &pace, &DisplayPace::take);
    QObject::connect(&pace, &DisplayPace::due, &model, &EventModel::append);
    if (settings.print)
        QObject::connect(&notifier, &KX::KXEventNotifier::eventOccurred, &notifier,
                         [this](const KX::KXInputEvent& event) { printer.print(event); });
    QObject::connect(&processSignals, &ProcessSignals::terminationRequested, qApp, &QCoreApplication::quit);
    QObject::connect(&processSignals, &ProcessSignals::saveRequested, qApp, [this] { saveSession(); });
}

void Terminal::scheduleEnd() {
    if (settings.exitAfterMs)
        QTimer::singleShot(*settings.exitAfterMs, Qt::PreciseTimer, qApp, &QCoreApplication::quit);
    if (player) {
        QObject::connect(player.get(), &SessionPlayer::progressed, player.get(), [this] { showReplayProgress(); });
        if (settings.exitAtEnd)
            QObject::connect(player.get(), &SessionPlayer::finished, qApp, &QCoreApplication::quit);
        player->start();
    }
    if (!settings.demo)
        return;
    demo = std::make_unique<DemoSession>(window);
    QObject::connect(demo.get(), &DemoSession::finished, qApp, &QCoreApplication::quit);
    demo->start();
}

void Terminal::showReplayProgress() {
    const std::size_t total = player->inputCount();
    window.showReplayProgress(total == 0 ? 100 : static_cast<int>(100 * player->playedInputs() / total));
    for (; replayedInputs < player->playedInputs(); ++replayedInputs)
        replayProgress->countOne();
}

int Terminal::run() {
    window.show();
    // The keypad's keys go to the active window, also where no window manager makes one active.
    window.activateWindow();
    scheduleEnd();
    QCoreApplication::exec();
    const bool isRecorded = endSession();
    pace.flush();
    window.actions().showState(desk);
    const int pictureStatus = settings.screenshotFile.isEmpty() ? 0 : writePicture();
    return isRecorded ? pictureStatus : 1;
}

// Takes the last events, and ends the recording before another pass of the worker can make more of them.
// Returns whether what was to be recorded is.
bool Terminal::endSession() {
    if (recorder)
        recorder->holdWorker();
    while (manager->hasEvents())
        notifier.takeWaitingEvents();
    return !recorder || recorder->stop();
}

int Terminal::writePicture() {
    QImageWriter writer(settings.screenshotFile, "PNG");
    // A text that has just changed may have asked for another place.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
    if (writer.write(window.grab().toImage()))
        return 0;
    std::fprintf(stderr, "kxterminal: --screenshot: cannot write %s: %s\n",
                 settings.screenshotFile.toLocal8Bit().constData(),
                 writer.errorString().toLocal8Bit().constData());
    return 2;
}

} // namespace Terminal
