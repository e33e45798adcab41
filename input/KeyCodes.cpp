#include "input/KXInputEventManager.h"

#include "input/Status.h"

#include <Qt>

namespace KX {

namespace {

struct KeyAssignment {
    int keyCode;
    int toolkitCode;
};

// Return stands after the step keys: where two rows met one key, the later would win.
constexpr KeyAssignment defaultKeys[] = {
    {0, Qt::Key_Escape}, {1, Qt::Key_Home},   {2, Qt::Key_Tab}, {4, Qt::Key_Up},
    {5, Qt::Key_Down},   {3, Qt::Key_Return}, {6, Qt::Key_End},
};

constexpr int unmappedKey = 65535;

} // namespace

std::map<int, int> KXInputEventManager::kxCodeToOSCodeMap;

void KXInputEventManager::initializeOSCodeToKXCodeMap() {
    for (const KeyAssignment& key : defaultKeys)
        osCodeToKXCodeMap[key.toolkitCode] = key.keyCode;
    for (const KeyAssignment& key : defaultKeys)
        kxCodeToOSCodeMap[key.keyCode] = key.toolkitCode;
}

int KXInputEventManager::setKeyMapping(std::map<int, int> mapping) {
    // Only ever added to: the way back of a key that gets another code stays, because whoever synthesises that
    // key still needs a toolkit key for it.
    for (const auto& [toolkitCode, keyCode] : mapping) {
        osCodeToKXCodeMap[toolkitCode] = keyCode;
        kxCodeToOSCodeMap[keyCode] = toolkitCode;
    }
    return STATUS_OK;
}

std::map<int, int>* KXInputEventManager::getKXtoOSCodeMap() {
    return &kxCodeToOSCodeMap;
}

void KXInputEventManager::setKeyboardLayout(int layout) {
    keyboardLayout = layout;
}

int KXInputEventManager::keyCodeOf(int osKeyCode) const {
    const auto entry = osCodeToKXCodeMap.find(osKeyCode);
    return entry == osCodeToKXCodeMap.end() ? unmappedKey : entry->second;
}

} // namespace KX
