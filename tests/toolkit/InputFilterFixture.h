#pragma once

#include "events/KXEventType.h"
#include "platform/simulated/KXSimulation.h"
#include "toolkit/InputClock.h"
#include "toolkit/InputFilter.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPushButton>
#include <QWheelEvent>
#include <QWidget>
#include <QWindow>
#include <QtTest>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <ostream>
#include <vector>

namespace KX {

struct Reported {
    int type;
    long long what; // key of the toolkit, or button
    unsigned int tick = 0;
};

inline bool operator==(const Reported& left, const Reported& right) {
    return left.type == right.type && left.what == right.what;
}

inline std::ostream& operator<<(std::ostream& stream, const Reported& reported) {
    return stream << translateEventTypeToString(reported.type) << " of " << reported.what;
}

constexpr int width = 400;
constexpr int height = 300;
inline const QPoint inside(200, 200);
inline const QPoint outside(width + 5, 200);

// Notes what an object gets of the events that the filter has seen before it.
class ReceivedTypes : public QObject {
public:
    explicit ReceivedTypes(QObject& watched) { watched.installEventFilter(this); }

    bool eventFilter(QObject* /*watched*/, QEvent* event) override {
        types.push_back(event->type());
        return false;
    }

    std::ptrdiff_t count(QEvent::Type type) const { return std::count(types.begin(), types.end(), type); }

    std::vector<QEvent::Type> types;
};

// A window with a button and a text field on a display without a screen. The operator's input goes to the native
// window, where the window system would deliver it.
class InputFilterTest : public testing::Test {
protected:
    explicit InputFilterTest(WindowSystem system = {false, true})
        : filter(
              window, [this](KXToolkitEvent& event) { take(event); }, system, clock) {
        KXSimulation::reset();
        window.resize(width, height);
        button.setGeometry(10, 10, 100, 50);
        button.setFocusPolicy(Qt::NoFocus);
        field.setGeometry(10, 100, 100, 30);
        field.clearFocus();
        window.show();
        window.activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&window));
        window.setFocus();
        reports.clear();
    }

    QWindow* native() const { return window.windowHandle(); }

    void take(const KXToolkitEvent& event) {
        EXPECT_EQ(2, event.eventClass);
        lastReport = event;
        // The pointer may be anywhere on this display.
        if (event.eventType == TOOLKIT_MOUSE_ENTER_EVENT || event.eventType == TOOLKIT_MOUSE_EXIT_EVENT)
            return;
        const bool key = event.osKeyCode != -1;
        reports.push_back({event.eventType, key ? event.osKeyCode : static_cast<long long>(event.eventData[1]),
                           event.timeStamp});
    }

    void turnWheel(int angle) {
        QWheelEvent turn(inside, window.mapToGlobal(inside), QPoint(), QPoint(0, angle), Qt::NoButton,
                         Qt::NoModifier, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(native(), &turn);
    }

    void sendKey(QEvent::Type type, unsigned long windowSystemTime, Qt::Key key = Qt::Key_End) {
        QKeyEvent event(type, key, Qt::NoModifier);
        event.setTimestamp(windowSystemTime);
        QCoreApplication::sendEvent(native(), &event);
    }

    // Bypasses the window system, which would add double clicks and moves.
    void sendMouse(QEvent::Type type, const QPoint& position, Qt::MouseButton mouseButton = Qt::LeftButton) {
        QMouseEvent event(type, position, window.mapToGlobal(position), mouseButton, Qt::NoButton, Qt::NoModifier);
        QCoreApplication::sendEvent(native(), &event);
    }

    void moveTo(const QPoint& position, Qt::MouseButtons buttons) {
        QMouseEvent move(QEvent::MouseMove, position, window.mapToGlobal(position), Qt::NoButton, buttons,
                         Qt::NoModifier);
        QCoreApplication::sendEvent(native(), &move);
    }

    // As KXInputEventManager::generateKeyEvent does.
    void postKeyOfLibrary(QEvent::Type type, Qt::Key key) {
        QCoreApplication::postEvent(&window, new QKeyEvent(type, key, Qt::NoModifier));
        QCoreApplication::processEvents();
    }

    void send(QObject* receiver, QEvent::Type type) {
        QEvent event(type);
        QCoreApplication::sendEvent(receiver, &event);
    }

    QWidget window;
    QPushButton button{&window};
    QLineEdit field{&window};
    std::vector<Reported> reports;
    KXToolkitEvent lastReport;
    InputClock clock;
    InputFilter filter;
};

} // namespace KX
