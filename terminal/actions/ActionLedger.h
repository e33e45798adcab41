#pragma once

#include "platform/KXAction.h"

#include <QString>

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

    class Entry;

    const Counts& counts() const;

    /// What was dropped last, and why. Empty at first.
    const QString& lastDropped() const;

    void notePosted();

    /// The queue has returned, so the action that it asked last has had its turn.
    void noteDrained();

private:
    void noteAsked(Entry& action, bool ready);
    void noteExecuted();

    Counts count;
    QString dropped;
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
