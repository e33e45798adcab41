#pragma once

#include "events/KXEvent.h"
#include "terminal/actions/ActionLedger.h"

#include <QObject>
#include <QTimer>

#include <optional>

namespace Terminal {

/// The application behind the terminal. It posts actions on classified events and runs them from the main loop for
/// at most \ref budgetMs at a time.
///
/// The actions work on a small implement. Soft keys, or the keys F1 to F8 that stand for them, fold, lift, lower,
/// start and stop it. While it is folded, the actions that lower and start it are not ready. F9 starts two actions
/// that trigger each other, and the queue stops this loop.
class ActionDesk : public QObject {
    Q_OBJECT

public:
    static constexpr unsigned int budgetMs = 4;

    enum SoftKeyNumber { Start, Stop, Lift, Lower, Fold, SoftKeyCount = 8 };

    /// KXActionQueue must exist while the desk gets events. Release it before the desk is destroyed, because it holds
    /// actions of the desk.
    explicit ActionDesk(QObject* parent = nullptr);

    void takeEvent(const KX::KXInputEvent& event);

    /// A soft key went down in the window. The next classified press of the mouse belongs to it.
    void softKeyWentDown(int number);

    void startLoop();

    const ActionLedger& ledger() const;

    /// How long the last run took.
    int usedMicroseconds() const;

    /// What the implement does now.
    QString implementState() const;

signals:
    /// The queue has executed or dropped actions.
    void changed();

private:
    struct Implement {
        bool folded = true;
        bool lowered = false;
        bool working = false;
    };

    void postActionsOn(KX::KXInputEvent event);
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
    QTimer rest; // runs what exceeded the budget
};

} // namespace Terminal
