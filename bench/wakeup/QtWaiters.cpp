// Qt's two ways to hand something to an object of another thread.

#include "bench/wakeup/Waiter.h"

#include <QCoreApplication>
#include <QEvent>
#include <QEventLoop>
#include <QObject>

namespace {

/// The event that Qt carries; it holds ours.
class QtEvent : public QEvent {
public:
    explicit QtEvent(KX::KXEvent& event) : QEvent(QEvent::User), holder(event) {}

    const KX::KXSomeEvent holder;
};

/// Lives in the waiting thread while its loop runs.
class Receiver : public QObject {
public:
    Receiver(Arrivals& newArrivals, QEventLoop& newLoop) : arrivals(newArrivals), loop(newLoop) {}

    void take(const KX::KXSomeEvent& event) {
        if (!arrivals.take(Bench::getNumber(event)))
            loop.quit();
    }

protected:
    bool event(QEvent* event) override {
        if (event->type() != QEvent::User)
            return QObject::event(event);
        take(static_cast<QtEvent*>(event)->holder);
        return true;
    }

private:
    Arrivals& arrivals;
    QEventLoop& loop;
};

class QtWaiter : public Waiter {
public:
    void run(Arrivals& arrivals) override {
        QEventLoop loop;
        Receiver itself(arrivals, loop);
        receiver = &itself;
        arrivals.getReady();
        loop.exec();
    }

protected:
    Receiver* receiver = nullptr; // set before the posting thread is told that this one is ready
};

class QtPostWaiter : public QtWaiter {
public:
    void post(std::uint32_t number) override {
        KX::KXInputEvent event = Bench::makeEvent(number);
        QCoreApplication::postEvent(receiver, new QtEvent(event));
    }
};

class QtInvokeWaiter : public QtWaiter {
public:
    void post(std::uint32_t number) override {
        KX::KXInputEvent event = Bench::makeEvent(number);
        QMetaObject::invokeMethod(
            receiver, [to = receiver, holder = KX::KXSomeEvent(event)] { to->take(holder); },
            Qt::QueuedConnection);
    }
};

} // namespace

std::vector<Contender> getQtContenders() {
    const auto post = [] { return std::make_unique<QtPostWaiter>(); };
    const auto invoke = [] { return std::make_unique<QtInvokeWaiter>(); };
    return {{"Qt postEvent", post},
            {"Qt invokeMethod", invoke},
            {"Qt postEvent, no GLib", post, Bench::QtLoop::Own},
            {"Qt invokeMethod, no GLib", invoke, Bench::QtLoop::Own}};
}
