#include "terminal/session/SeparateDevice.h"

#include <QVariant>
#include <QWidget>

namespace Terminal {

namespace {

const char* const pressMark = "separateDeviceTakesPresses";
const char* const wheelMark = "separateDeviceTakesWheel";

bool isMarked(const QWidget& window, const QPoint& position, const char* mark) {
    const QWidget* widget = window.childAt(position);
    while (widget && widget != &window) {
        if (widget->property(mark).toBool())
            return true;
        widget = widget->parentWidget();
    }
    return false;
}

} // namespace

void SeparateDevice::takesPresses(QWidget& widget) {
    widget.setProperty(pressMark, true);
}

void SeparateDevice::takesWheel(QWidget& widget) {
    widget.setProperty(wheelMark, true);
}

bool SeparateDevice::ownsPress(const QWidget& window, const QPoint& position) {
    return isMarked(window, position, pressMark);
}

bool SeparateDevice::ownsWheel(const QWidget& window, const QPoint& position) {
    return isMarked(window, position, wheelMark);
}

} // namespace Terminal
