// What stands between Qt and the manager.

#include "tests/faults/ManagerSupport.h"

#include "events/KXEventType.h"
#include "toolkit/KXEventNotifier.h"
#include "toolkit/KXToolkitLayer.h"
#include "toolkit/KXWheelDetents.h"

#include <QApplication>
#include <QLabel>
#include <QMouseEvent>
#include <QWindow>

#include <algorithm>
#include <memory>
#include <vector>

namespace KX::test {

namespace {

/// Presses and releases the left button in the window, as the window system does.
void click(QWidget& window) {
    for (const QEvent::Type type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease}) {
        const bool isPress = type == QEvent::MouseButtonPress;
        QMouseEvent event(type, QPointF(5, 5), QPointF(5, 5), Qt::LeftButton,
                          isPress ? Qt::LeftButton : Qt::NoButton, Qt::NoModifier);
        QCoreApplication::sendEvent(window.windowHandle(), &event);
    }
}

/// A window with a layer whose reports are counted.
struct Window {
    Window() {
        label.resize(20, 20);
        label.show();
        QApplication::processEvents();
    }

    QLabel label;
    std::vector<int> reports;
};

void expectReports(Window& window, KXToolkitLayer& layer) {
    layer.setReport([&](KXToolkitEvent& event) { window.reports.push_back(event.eventType); });
    window.reports.clear();
    click(window.label);
    EXPECT_EQ(window.reports, (std::vector<int>{TOOLKIT_MOUSE_PRESS_EVENT, TOOLKIT_MOUSE_RELEASE_EVENT}));
}

const Operation toolkitOperations[] = {
    {"KXToolkitLayer", "make", "throws std::bad_alloc; the window is not watched, and a later call watches it",
     [](Fault& fault) {
         Window window;
         std::unique_ptr<KXToolkitLayer> layer;
         if (!fault.completes([&] { layer = std::make_unique<KXToolkitLayer>(window.label); })) {
             EXPECT_EQ(layer, nullptr);
             click(window.label);
             layer = std::make_unique<KXToolkitLayer>(window.label);
         }
         expectReports(window, *layer);
     }},

    {"KXToolkitLayer", "setReport", "throws std::bad_alloc; the former report stays",
     [](Fault& fault) {
         Window window;
         KXToolkitLayer layer(window.label);
         layer.setReport([&](KXToolkitEvent&) { window.reports.push_back(1); });
         const std::vector<int> large(4);
         const bool isDone = fault.completes([&] {
             layer.setReport([&window, large, a = 1L, b = 2L](KXToolkitEvent&) {
                 window.reports.push_back(static_cast<int>(a + b) - 1);
             });
         });
         click(window.label);
         EXPECT_EQ(window.reports, std::vector<int>(2, isDone ? 2 : 1));
         expectReports(window, layer);
     }},

    {"KXToolkitLayer", "input", "allocates nothing; an event that the pipe cannot take is lost with a line",
     [](Fault& fault) {
         KXInputEventManager& present = manager();
         Window window;
         const KXToolkitLayer layer(window.label);
         fault.during([&] { click(window.label); });
         EXPECT_EQ(takeTypes(present).size(), hasLostEvent(fault) ? 1U : 2U);
         click(window.label);
         EXPECT_EQ(takeTypes(present).size(), 2U);
     }},

    {"KXToolkitLayer", "leave_presses_wheel_and_keys",
     "does not fail; presses reach the widget and are not reported",
     [](Fault& fault) {
         Window window;
         KXToolkitLayer layer(window.label);
         layer.setReport([&](KXToolkitEvent& event) { window.reports.push_back(event.eventType); });
         const auto leave = [&](bool isLeft) {
             KXToolkitLayer::leavePressesTo(window.label, isLeft);
             KXToolkitLayer::leaveWheelTo(window.label, isLeft);
             KXToolkitLayer::leaveKeysTo(window.label, isLeft);
         };
         fault.during([&] { leave(true); });
         click(window.label);
         EXPECT_TRUE(window.reports.empty());
         fault.during([&] { leave(false); });
         expectReports(window, layer);
     }},

    {"KXWheelDetents", "turn", "allocates nothing",
     [](Fault& fault) {
         KXWheelDetents wheel;
         fault.during([&] { EXPECT_EQ(wheel.turn(119), 0); });
         EXPECT_EQ(wheel.turn(1), 1);
     }},

    {"KXEventNotifier", "make", "throws std::bad_alloc; a later one emits",
     [](Fault& fault) {
         KXInputEventManager& present = manager();
         std::unique_ptr<KXEventNotifier> notifier;
         if (!fault.completes([&] { notifier = std::make_unique<KXEventNotifier>(); }))
             notifier = std::make_unique<KXEventNotifier>();
         int emitted = 0;
         QObject::connect(notifier.get(), &KXEventNotifier::eventOccurred,
                          [&](const KXInputEvent&) { ++emitted; });
         present.postESCtoEventQueue(true);
         notifier->takeWaitingEvents();
         EXPECT_EQ(emitted, 1);
     }},

    {"KXEventNotifier", "takeWaitingEvents",
     "an event that cannot be read is emitted by default, and later itself",
     [](Fault& fault) {
         KXInputEventManager& present = manager();
         KXEventNotifier notifier;
         std::vector<int> types;
         types.reserve(2); // the slot is to need no memory
         QObject::connect(&notifier, &KXEventNotifier::eventOccurred,
                          [&](const KXInputEvent& event) { types.push_back(event.eventType); });
         present.postESCtoEventQueue(true);
         fault.during([&] { notifier.takeWaitingEvents(); });
         notifier.takeWaitingEvents();
         EXPECT_EQ(std::count(types.begin(), types.end(), KEY_PRESS_EVENT), 1);
         EXPECT_LE(types.size(), 2U);
     }},
};

} // namespace

} // namespace KX::test
