#include "terminal/KeyCodes.h"

#include <Qt>

std::map<int, int> KeyCodes::functionKeys() {
    std::map<int, int> keys;
    for (int toolkitKey = Qt::Key_F1; toolkitKey <= Qt::Key_F12; ++toolkitKey)
        keys[toolkitKey] = firstSoftKey + toolkitKey - Qt::Key_F1;
    return keys;
}
