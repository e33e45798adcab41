#include "toolkit/KXToolkitLayer.h"

#include "input/KXInputEventManager.h"
#include "toolkit/InputClock.h"
#include "toolkit/InputFilter.h"
#include "toolkit/InputOwners.h"

#include <QGuiApplication>

#include <utility>

namespace KX {

namespace {

const auto reportToManager = [](KXToolkitEvent& event) {
    if (KXInputEventManager::hasInstance())
        KXInputEventManager::getInstance()->toolkitEventOccurred(event);
};

// One for all windows: they share the window system's clock, and the manager gets the reports of all of them.
InputClock& clockOfProcess() {
    static InputClock clock;
    return clock;
}

} // namespace

KXToolkitLayer::KXToolkitLayer(QWidget& window)
    : filter(std::make_unique<InputFilter>(
          window, reportToManager, WindowSystem::ofPlatform(QGuiApplication::platformName()), clockOfProcess())) {}

KXToolkitLayer::~KXToolkitLayer() = default;

void KXToolkitLayer::setReport(std::function<void(KXToolkitEvent&)> report) {
    if (report)
        filter->setReport(std::move(report));
    else
        filter->setReport(reportToManager);
}

void KXToolkitLayer::leavePressesTo(QWidget& widget, bool leave) {
    setOwnsInput(widget, InputKind::Presses, leave);
}

void KXToolkitLayer::leaveWheelTo(QWidget& widget, bool leave) {
    setOwnsInput(widget, InputKind::Wheel, leave);
}

void KXToolkitLayer::leaveKeysTo(QWidget& widget, bool leave) {
    setOwnsInput(widget, InputKind::Keys, leave);
}

} // namespace KX
