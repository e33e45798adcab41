#include "terminal/actions/ActionLedger.h"

#include <algorithm>
#include <utility>

namespace Terminal {

const ActionLedger::Counts& ActionLedger::counts() const {
    return count;
}

const std::deque<ActionLedger::Outcome>& ActionLedger::recent() const {
    return outcomes;
}

void ActionLedger::noteOutcome(const Entry& action, Fate fate, const QString& words) {
    const auto isSame = [&](const Outcome& outcome) {
        return outcome.action == action.name && outcome.fate == fate && outcome.words == words;
    };
    Outcome outcome{action.name, fate, words, 0};
    const auto before = std::find_if(outcomes.begin(), outcomes.end(), isSame);
    if (before != outcomes.end()) {
        outcome = *before;
        outcomes.erase(before);
    }
    ++outcome.times;
    outcomes.push_front(outcome);
    if (outcomes.size() > mostOutcomes)
        outcomes.pop_back();
}

void ActionLedger::notePosted() {
    ++count.posted;
}

void ActionLedger::noteDrained() {
    const Entry* const refused = std::exchange(pending, nullptr);
    if (!refused)
        return;
    ++count.loops;
    noteOutcome(*refused, Fate::Loop, QStringLiteral("stopped, a loop"));
}

void ActionLedger::noteAsked(Entry& action, bool ready) {
    noteDrained();
    if (ready) {
        pending = &action;
        return;
    }
    ++count.notReady;
    noteOutcome(action, Fate::NotReady, QStringLiteral("not ready: ") + action.reasonNotReady);
}

void ActionLedger::noteExecuted(const Entry& action) {
    pending = nullptr;
    ++count.executed;
    noteOutcome(action, Fate::Executed, QStringLiteral("executed"));
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
    ledger.noteExecuted(*this);
    work();
}

} // namespace Terminal
