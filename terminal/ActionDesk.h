#pragma once

#include "terminal/ActionLedger.h"
#include "terminal/EventPump.h"

#include <QObject>
#include <QTimer>

#include <optional>

namespace Terminal {

/// The application behind the terminal: posts actions on classified events and runs them from the main loop, no
/// longer than \ref budgetMs at a time.
///
/// A small implement is what the actions are about: soft keys, or the keys F1 to F8 that stand for them, fold,
/// lift, lower, start and stop it. Folded, it cannot be lowered or started: those actions are not ready then.
/// F9 starts a chain of two actions that trigger each other, for the queue to stop it.
class ActionDesk : public QObject {
    Q_OBJECT

public:
    static constexpr unsigned int budgetMs = 4;

    enum SoftKeyNumber { Start, Stop, Lift, Lower, Fold, SoftKeyCount = 8 };

    /// KXActionQueue exists and is released before the desk goes.
    explicit ActionDesk(QObject* parent = nullptr);

    void takeEvents(const ClassifiedEvents& events);

    /// A soft key went down in the window; the next classified press of the mouse is its.
    void softKeyWentDown(int number);

    void startLoop();

    const ActionLedger& ledger() const;

    /// How long the last run took.
    int usedMicroseconds() const;

    /// What the implement does.
    QString implementState() const;

signals:
    /// Actions have run, or have been dropped.
    void changed();

private:
    struct Implement {
        bool folded = true;
        bool lowered = false;
        bool working = false;
    };

    void takeEvent(KX::KXInputEvent event);
    void takeSoftKey(int number, KX::KXInputEvent& event);
    void startLoopOn(KX::KXEvent& event);
    void post(ActionLedger::Entry& action, KX::KXEvent& event, void* object);
    void runActions();
    void toggleFold();

    ActionLedger accounts;
    Implement implement;
    std::optional<int> softKeyDown;
    ActionLedger::Entry noteEvent;
    ActionLedger::Entry start;
    ActionLedger::Entry stop;
    ActionLedger::Entry lift;
    ActionLedger::Entry lower;
    ActionLedger::Entry fold;
    ActionLedger::Entry checkPressure;
    ActionLedger::Entry adjustValve;
    int lastUsedMicroseconds = 0;
    QTimer rest; // of what did not fit into the budget
};

} // namespace Terminal
