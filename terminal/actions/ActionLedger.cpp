#include "terminal/actions/ActionLedger.h"

#include <utility>

namespace Terminal {

const ActionLedger::Counts& ActionLedger::counts() const {
    return count;
}

const QString& ActionLedger::lastDropped() const {
    return dropped;
}

void ActionLedger::notePosted() {
    ++count.posted;
}

void ActionLedger::noteDrained() {
    const Entry* const refused = std::exchange(pending, nullptr);
    if (!refused)
        return;
    ++count.loops;
    dropped = QStringLiteral("Loop stopped at \u201c%1\u201d").arg(refused->name);
}

void ActionLedger::noteAsked(Entry& action, bool ready) {
    noteDrained();
    if (ready) {
        pending = &action;
        return;
    }
    ++count.notReady;
    dropped = QStringLiteral("\u201c%1\u201d not ready: %2").arg(action.name, action.reasonNotReady);
}

void ActionLedger::noteExecuted() {
    pending = nullptr;
    ++count.executed;
}

ActionLedger::Entry::Entry(ActionLedger& keptIn, QString actionName, Work actionWork, Ready readiness,
                           QString reason)
    : name(std::move(actionName)), reasonNotReady(std::move(reason)), ledger(keptIn), work(std::move(actionWork)),
      readyNow(std::move(readiness)) {}

bool ActionLedger::Entry::isReady() {
    const bool ready = !readyNow || readyNow();
    ledger.noteAsked(*this, ready);
    return ready;
}

void ActionLedger::Entry::execute(void* /*argument*/) {
    ledger.noteExecuted();
    work();
}

} // namespace Terminal
