#pragma once

#include "bench/support/Numbered.h"

#include <QCoreApplication>
#include <QEvent>
#include <QObject>

/// Qt's queue of the thread that an object lives in. It knows no single event: taking delivers all that wait.
namespace Bench {

class HolderEvent : public QEvent {
public:
    static constexpr QEvent::Type holderType = QEvent::User;

    explicit HolderEvent(const KX::KXSomeEvent& original) : QEvent(holderType), holder(original) {}

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
    using Item = KX::KXSomeEvent;

    void post(const Item& holder) {
        QCoreApplication::postEvent(&receiver, new HolderEvent(holder));
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
    void post(const Item& holder) {
        QMetaObject::invokeMethod(
            &receiver, [this, holder] { receiver.take(holder); }, Qt::QueuedConnection);
    }
};

} // namespace Bench
