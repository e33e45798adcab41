#pragma once

#include "bench/support/Numbered.h"

#include <QCoreApplication>
#include <QEvent>
#include <QObject>

/// Qt's queue of the thread that an object lives in. It knows no single event: taking delivers all that wait.
/// Holders are built from events as with the other peers.
namespace Bench {

class HolderEvent : public QEvent {
public:
    static constexpr QEvent::Type holderType = QEvent::User;

    explicit HolderEvent(KX::KXEvent& event) : QEvent(holderType), holder(event) {}

    const KX::KXSomeEvent holder;
};

class Receiver : public QObject {
public:
    OrderCheck* order = nullptr;
    bool hasTaken = false;

    void take(const KX::KXSomeEvent& holder) {
        order->take(getNumber(holder));
        hasTaken = true;
    }

protected:
    void customEvent(QEvent* event) override {
        take(static_cast<HolderEvent*>(event)->holder);
    }
};

class QtPostEvent {
public:
    using Item = KX::KXInputEvent;

    void post(Item& event) {
        QCoreApplication::postEvent(&receiver, new HolderEvent(event));
    }

    bool take(OrderCheck& order) {
        receiver.order = &order;
        receiver.hasTaken = false;
        QCoreApplication::sendPostedEvents();
        return receiver.hasTaken;
    }

protected:
    Receiver receiver;
};

class QtInvokeMethod : public QtPostEvent {
public:
    void post(Item& event) {
        QMetaObject::invokeMethod(
            &receiver, [this, holder = KX::KXSomeEvent(event)] { receiver.take(holder); }, Qt::QueuedConnection);
    }
};

} // namespace Bench
