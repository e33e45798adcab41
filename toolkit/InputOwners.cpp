#include "toolkit/InputOwners.h"

#include <QVariant>
#include <QWidget>

namespace KX {

namespace {

// A property goes with its widget, so nothing is left behind when that is destroyed.
const char* markOf(InputKind kind) {
    switch (kind) {
    case InputKind::Presses: return "kxOwnsPresses";
    case InputKind::Wheel: return "kxOwnsWheel";
    case InputKind::Keys: break;
    }
    return "kxOwnsKeys";
}

} // namespace

void setOwnsInput(QWidget& widget, InputKind kind, bool owns) {
    widget.setProperty(markOf(kind), owns);
}

bool ownsInput(const QWidget& widget, InputKind kind) {
    const QWidget* owner = &widget;
    while (!owner->property(markOf(kind)).toBool()) {
        if (owner->isWindow() || !owner->parentWidget())
            return false;
        owner = owner->parentWidget();
    }
    return true;
}

} // namespace KX
