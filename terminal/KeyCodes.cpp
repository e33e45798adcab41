#include "terminal/KeyCodes.h"

#include "events/KXEventType.h"
#include "tools/keylayout/FunctionKeys.h"

#include <Qt>

static_assert(KeyCodes::toolkitPageUp == Qt::Key_PageUp);
static_assert(KeyCodes::toolkitPageDown == Qt::Key_PageDown);
static_assert(KeyCodes::toolkitF12 == Qt::Key_F12);
static_assert(KeyCodes::firstSoftKey == KeyLayout::functionKeyCode);

std::map<int, int> KeyCodes::functionKeys() {
    return KeyLayout::functionKeys();
}

bool KeyCodes::isPress(const KX::KXEvent& event) {
    return event.eventType == KX::KEY_PRESS_EVENT || event.eventType == KX::KEY_DOUBLE_PRESS_EVENT;
}
