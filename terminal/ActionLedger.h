#pragma once

#include "platform/KXAction.h"

#include <QString>

#include <functional>

namespace Terminal {

/// Keeps count of what the action queue does with the actions of the terminal.
///
/// The queue tells nothing but by what it calls. It asks each action whether it is ready and then executes it, or
/// drops it: so one that was ready and was not executed before anything else happened was refused as a loop.
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

    /// What was dropped last and why; empty at first.
    const QString& lastDropped() const;

    void notePosted();

    /// The queue has returned: what it was last asked about has had its turn.
    void noteDrained();

private:
    void noteAsked(Entry& action, bool ready);
    void noteExecuted();

    Counts count;
    QString dropped;
    Entry* pending = nullptr; // ready, and not executed yet
};

/// An action that is kept count of. Used on the executing thread only.
class ActionLedger::Entry : public KX::KXAction {
public:
    using Ready = std::function<bool()>;
    using Work = std::function<void()>;

    /// \param reason  why it is not ready when \p readyNow says so
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
