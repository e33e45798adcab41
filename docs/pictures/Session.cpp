#include "docs/pictures/Session.h"

#include "events/KXEventType.h"
#include "platform/KXTick.h"
#include "platform/simulated/KXSimulation.h"
#include "recording/KXKeyLayout.h"
#include "recording/KXRecordedCalls.h"
#include "terminal/actions/ActionPanel.h"
#include "terminal/encoder/EncoderView.h"
#include "terminal/keypad/KeypadPanel.h"
#include "terminal/look/KeyCodes.h"

#include <QCoreApplication>

#include <algorithm>
#include <cstdlib>

namespace Pictures {

namespace {

constexpr unsigned int firstTick = 8640000;
constexpr unsigned int passMs = 100;
constexpr unsigned int tapMs = 80;

KX::KXInputEventManager* startManager() {
    KX::KXSimulation::reset();
    KX::KXSimulation::setTick(firstTick);
    KX::KXInputEventManager* const manager = KX::KXInputEventManager::createInstance();
    manager->setKeyMapping(Terminal::KeyCodes::functionKeys());
    KX::KXActionQueue::create();
    return manager;
}

} // namespace

Session::Session(const QSize& size)
    : manager(startManager()), inputSettings([this](KX::KXInputSetting setting, int value) {
          return KX::Recording::repeatCall(KX::Recording::NumberSetting{setting, value}, *manager);
      }),
      mainWindow(model, inputSettings) {
    watchEncoder(mainWindow.encoder(), inputSettings);
    mainWindow.keypad().setLayoutOfKeys(KX::KeyLayout::builtIn());
    mainWindow.keypad().watchBus([] {
        return Terminal::BusStatus{QStringLiteral("can0"), QStringLiteral("up"), true};
    });
    mainWindow.actions().watch(desk);
    mainWindow.resize(size);
    mainWindow.show();
    QCoreApplication::processEvents();
}

Session::~Session() {
    KX::KXActionQueue::release();
    KX::KXInputEventManager::deleteInstance();
}

Terminal::MainWindow& Session::window() {
    return mainWindow;
}

Terminal::InputSettings& Session::settings() {
    return inputSettings;
}

// The worker passes every 100 ms.
void Session::passes(unsigned int ms) {
    for (unsigned int left = ms; left > 0;) {
        const unsigned int step = std::min(left, passMs);
        KX::KXSimulation::advance(step);
        left -= step;
        takesEvents();
    }
}

void Session::takesEvents() {
    Terminal::ClassifiedEvents events;
    while (manager->hasEvents()) {
        const KX::KXInputEvent event = manager->getNextEvent();
        desk.takeEvent(event);
        events.push_back(event);
    }
    model.append(events);
}

void Session::reportsKey(int type, int toolkitKey) {
    KX::KXToolkitEvent event;
    event.eventType = type;
    event.osKeyCode = toolkitKey;
    event.timeStamp = KX::KXTick::getTickCount();
    manager->toolkitEventOccurred(event);
    takesEvents();
}

void Session::pressesKey(int toolkitKey, unsigned int heldMs) {
    holdsKey(toolkitKey);
    passes(heldMs);
    reportsKey(KX::TOOLKIT_KEY_RELEASE_EVENT, toolkitKey);
}

void Session::holdsKey(int toolkitKey) {
    reportsKey(KX::TOOLKIT_KEY_PRESS_EVENT, toolkitKey);
}

void Session::turnsWheel(int detents) {
    KX::KXToolkitEvent event;
    event.eventType = KX::TOOLKIT_WHEEL_EVENT;
    event.keyCode = detents > 0 ? KX::KX_KEY_UP : KX::KX_KEY_DOWN;
    event.count = std::abs(detents);
    event.timeStamp = KX::KXTick::getTickCount();
    manager->toolkitEventOccurred(event);
    takesEvents();
}

void Session::turnsKnob(unsigned int gapMs) {
    passes(gapMs);
    reportsKey(KX::TOOLKIT_KEY_PRESS_EVENT, Qt::Key_Up);
}

void Session::startsLoop() {
    desk.startLoop();
}

void Session::works() {
    pressesKey(Qt::Key_F4, tapMs); // it is folded, so it cannot be lowered
    passes(900);
    pressesKey(Qt::Key_F5, tapMs);
    passes(600);
    startsLoop();
    pressesKey(Qt::Key_F4, tapMs);
    passes(700);
    for (const unsigned int gapMs : {90U, 60U, 45U, 35U, 30U, 28U, 25U, 25U, 30U, 40U, 70U, 120U})
        turnsKnob(gapMs);
    passes(900);
    pressesKey(Qt::Key_Escape, tapMs);
    passes(120);
    pressesKey(Qt::Key_Escape, tapMs);
    passes(700);
    pressesKey(Qt::Key_Home, 2300);
    passes(500);
}

} // namespace Pictures
