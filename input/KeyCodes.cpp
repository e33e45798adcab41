#include "input/KXInputEventManager.h"

#include "events/KXKeyCode.h"
#include "input/Observation.h"
#include "platform/KXStatus.h"

#include <Qt>

namespace KX {

namespace {

struct KeyAssignment {
    int keyCode;
    int toolkitCode;
};

// Of two rows with the same key the later one wins.
constexpr KeyAssignment defaultKeys[] = {
    {KX_KEY_ESCAPE, Qt::Key_Escape}, {KX_KEY_HOME, Qt::Key_Home}, {KX_KEY_TAB, Qt::Key_Tab},
    {KX_KEY_UP, Qt::Key_Up},         {KX_KEY_DOWN, Qt::Key_Down}, {KX_KEY_RETURN, Qt::Key_Return},
    {KX_KEY_END, Qt::Key_End},
};

std::map<int, int> defaultKeyMapping() {
    std::map<int, int> mapping;
    for (const KeyAssignment& key : defaultKeys)
        mapping[key.toolkitCode] = key.keyCode;
    return mapping;
}

} // namespace

std::map<int, int> KXInputEventManager::kxCodeToOSCodeMap;

void KXInputEventManager::initializeOSCodeToKXCodeMap() {
    const Observation observation(this);
    if (observation)
        observation->onKeyMapping(defaultKeyMapping());
    for (const KeyAssignment& key : defaultKeys)
        osCodeToKXCodeMap[key.toolkitCode] = key.keyCode;
    for (const KeyAssignment& key : defaultKeys)
        kxCodeToOSCodeMap[key.keyCode] = key.toolkitCode;
}

int KXInputEventManager::setKeyMapping(std::map<int, int> mapping) {
    const Observation observation(this);
    if (observation)
        observation->onKeyMapping(mapping);
    // Nothing is removed: generateKeyEvent may still need a toolkit key for a code that no key produces any more.
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
    const Observation observation(this);
    if (observation)
        observation->onSetting(KXInputSetting::KeyboardLayout, layout);
    keyboardLayout = layout;
}

int KXInputEventManager::keyCodeOf(int osKeyCode) const {
    const auto entry = osCodeToKXCodeMap.find(osKeyCode);
    return entry == osCodeToKXCodeMap.end() ? KX_KEY_UNMAPPED : entry->second;
}

} // namespace KX
