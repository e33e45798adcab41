#pragma once

#include "platform/KXAction.h"

#include <QString>

#include <cstddef>
#include <deque>
#include <functional>

namespace Terminal {

/// Counts what the action queue does with the actions of the terminal.
///
/// The queue reports nothing, so the ledger observes its calls. The queue asks an action whether it is ready, and
/// then executes or drops it. An action that was ready, but was not executed before the next call, was refused as
/// a loop.
class ActionLedger {
public:
    struct Counts {
        quint64 posted = 0;
        quint64 executed = 0;
        quint64 notReady = 0;
        quint64 loops = 0;
    };

    enum class Fate { Executed, NotReady, Loop };

    /// What became of an action. The same fate again only counts.
    struct Outcome {
        QString action;
        Fate fate = Fate::Executed;
        QString words; ///< "executed", "not ready: it is folded"
        quint64 times = 0;
    };

    static constexpr std::size_t mostOutcomes = 8;

    class Entry;

    const Counts& counts() const;

    /// The latest outcomes, newest first, at most \ref mostOutcomes.
    const std::deque<Outcome>& recent() const;

    void notePosted();

    /// The queue has returned, so the action that it asked last has had its turn.
    void noteDrained();

private:
    void noteAsked(Entry& action, bool ready);
    void noteExecuted(const Entry& action);
    void noteOutcome(const Entry& action, Fate fate, const QString& words);

    Counts count;
    std::deque<Outcome> outcomes;
    Entry* pending = nullptr; // it said that it is ready, and was not executed yet
};

/// An action that the ledger counts. Use it on the executing thread only.
class ActionLedger::Entry : public KX::KXAction {
public:
    using Ready = std::function<bool()>;
    using Work = std::function<void()>;

    /// \param reason  why the action is not ready, shown when \p readyNow returns false
    Entry(ActionLedger& ledger, QString name, Work work, Ready readyNow = nullptr, QString reason = QString());

    bool isReady() override;
    void execute(void* argument) override;

    const QString name;
    const QString reasonNotReady;

private:
    ActionLedger& ledger;
    const Work work;
    const Ready readyNow;
};

} // namespace Terminal
