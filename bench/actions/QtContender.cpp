#include "Scenarios.h"

#include <QCoreApplication>
#include <QEvent>
#include <QMetaObject>
#include <QObject>

namespace Bench {
namespace {

const QEvent::Type itemPosted = static_cast<QEvent::Type>(QEvent::registerEventType());

class ItemEvent : public QEvent {
public:
    explicit ItemEvent(const Item& itsItem) : QEvent(itemPosted), item(itsItem) {}

    const Item item;
};

/// Sends what waits. What is posted meanwhile takes another round, as in the loop of an application.
class Rounds {
public:
    void countPosted() {
        ++waiting;
    }

    void countRun() {
        --waiting;
    }

    void run() const {
        while (waiting != 0)
            QCoreApplication::sendPostedEvents();
    }

private:
    std::size_t waiting = 0;
};

/// An event of its own for each item.
class PostEvent : public QObject {
public:
    explicit PostEvent(bool) {}

    void post(const Item& item) {
        rounds.countPosted();
        QCoreApplication::postEvent(this, new ItemEvent(item));
    }

    void runAll() {
        rounds.run();
    }

    bool event(QEvent* event) override {
        if (event->type() != itemPosted)
            return QObject::event(event);
        rounds.countRun();
        run(static_cast<ItemEvent*>(event)->item);
        return true;
    }

private:
    Rounds rounds;
};

/// A queued call of a function object for each item.
class InvokeMethod {
public:
    explicit InvokeMethod(bool) {}

    void post(const Item& item) {
        rounds.countPosted();
        QMetaObject::invokeMethod(
            &receiver,
            [this, item] {
                rounds.countRun();
                run(item);
            },
            Qt::QueuedConnection);
    }

    void runAll() {
        rounds.run();
    }

private:
    QObject receiver;
    Rounds rounds;
};

const OnQtThread withGLib(QtLoop::GLib);
const OnQtThread withoutGLib(QtLoop::Own);
const bool areAdded = addContender<PostEvent>("Qt postEvent", withGLib) &&
                      addContender<InvokeMethod>("Qt invokeMethod", withGLib) &&
                      addContender<PostEvent>("Qt postEvent, no GLib", withoutGLib) &&
                      addContender<InvokeMethod>("Qt invokeMethod, no GLib", withoutGLib);

} // namespace
} // namespace Bench
