#include "terminal/actions/ActionDesk.h"

#include "actions/KXActionQueue.h"
#include "events/KXEventKind.h"
#include "platform/KXStatus.h"
#include "platform/KXTick.h"
#include "terminal/look/KeyCodes.h"

#include <QElapsedTimer>

namespace Terminal {

namespace {

bool isPressOfMouse(const KX::KXEvent& event) {
    return KX::isMouseEvent(event.eventType) && KX::isPressEvent(event.eventType);
}

// The two actions of the loop post each other with the event that triggered them.
KX::KXEvent eventOf(const KX::KXAction& action) {
    KX::KXEvent event;
    event.eventType = action.triggeringEventType;
    return event;
}

const QString isFolded = QStringLiteral("it is folded");

} // namespace

ActionDesk::ActionDesk(QObject* parent)
    : QObject(parent), noteEvent(accounts, QStringLiteral("Note the event"), [] {}),
      start(
          accounts, QStringLiteral("Start"), [this] { implement.working = true; },
          [this] { return !implement.folded; }, isFolded),
      stop(accounts, QStringLiteral("Stop"), [this] { implement.working = false; }),
      lift(accounts, QStringLiteral("Lift"), [this] { implement.lowered = false; }),
      lower(
          accounts, QStringLiteral("Lower"), [this] { implement.lowered = true; },
          [this] { return !implement.folded; }, isFolded),
      fold(
          accounts, QStringLiteral("Fold"), [this] { toggleFold(); },
          [this] { return !implement.lowered && !implement.working; }, QStringLiteral("it is in use")),
      checkPressure(accounts, QStringLiteral("Check pressure"),
                    [this] {
                        KX::KXEvent event = eventOf(checkPressure);
                        post(adjustValve, event, &implement);
                    }),
      adjustValve(accounts, QStringLiteral("Adjust valve"), [this] {
          KX::KXEvent event = eventOf(adjustValve);
          post(checkPressure, event, &implement);
      }) {
    rest.setSingleShot(true);
    connect(&rest, &QTimer::timeout, this, &ActionDesk::runActions);
}

void ActionDesk::takeEvent(const KX::KXInputEvent& event) {
    postActionsOn(event);
    runActions();
}

void ActionDesk::postActionsOn(KX::KXInputEvent event) {
    // Posted without an object: an action that the operator requests again is no loop, however soon.
    post(noteEvent, event, nullptr);
    if (KeyCodes::isPress(event)) {
        const int number = event.keyCode - KeyCodes::firstSoftKey;
        if (number >= 0 && number < SoftKeyCount)
            takeSoftKey(number, event);
        else if (event.keyCode == KeyCodes::startLoop)
            startLoopOn(event);
    } else if (isPressOfMouse(event) && softKeyDown) {
        takeSoftKey(*softKeyDown, event);
        softKeyDown.reset();
    }
}

void ActionDesk::softKeyWentDown(int number) {
    softKeyDown = number;
}

void ActionDesk::takeSoftKey(int number, KX::KXInputEvent& event) {
    ActionLedger::Entry* const actions[] = {&start, &stop, &lift, &lower, &fold};
    if (number <= Fold)
        post(*actions[number], event, nullptr);
}

void ActionDesk::startLoop() {
    KX::KXEvent event;
    event.eventType = KX::MOUSE_RELEASE_EVENT; // ends the click on the button
    startLoopOn(event);
    runActions();
}

void ActionDesk::startLoopOn(KX::KXEvent& event) {
    post(checkPressure, event, &implement);
}

void ActionDesk::post(ActionLedger::Entry& action, KX::KXEvent& event, void* object) {
    accounts.notePosted();
    KX::KXActionQueue::instance()->postAction(&action, &event, object);
}

void ActionDesk::runActions() {
    QElapsedTimer used;
    used.start();
    const unsigned int deadline = KX::KXTick::getTickCount() + budgetMs;
    const int status = KX::KXActionQueue::instance()->executeActions(deadline, true);
    lastUsedMicroseconds = static_cast<int>(used.nsecsElapsed() / 1000);
    accounts.noteDrained();
    if (status == KX::STATUS_DEADLINE_PASSED)
        rest.start(0);
    emit changed();
}

void ActionDesk::toggleFold() {
    implement.folded = !implement.folded;
}

const ActionLedger& ActionDesk::ledger() const {
    return accounts;
}

int ActionDesk::usedMicroseconds() const {
    return lastUsedMicroseconds;
}

QString ActionDesk::implementState() const {
    if (implement.folded)
        return QStringLiteral("folded");
    return QStringLiteral("unfolded, %1, %2")
        .arg(implement.lowered ? QStringLiteral("lowered") : QStringLiteral("lifted"),
             implement.working ? QStringLiteral("working") : QStringLiteral("at rest"));
}

} // namespace Terminal
