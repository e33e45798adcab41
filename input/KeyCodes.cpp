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

// The new entries replace those with the same key. Nothing is removed: a generated key may still need a toolkit key
// for a code that no key produces any more. No allocation.
void enter(std::map<int, int>& entries, std::map<int, int>& table) {
    entries.merge(table);
    table.swap(entries);
}

} // namespace

KXStdMutex KXInputEventManager::keyTableMutex;

// Other threads may generate keys until the process ends.
std::map<int, int>& KXInputEventManager::kxCodeToOSCodeMap = *new std::map<int, int>;

void KXInputEventManager::initializeOSCodeToKXCodeMap() {
    setKeyMapping(defaultKeyMapping());
}

int KXInputEventManager::setKeyMapping(std::map<int, int> mapping) {
    std::map<int, int> toolkitCodes;
    for (const auto& [toolkitCode, keyCode] : mapping)
        toolkitCodes[keyCode] = toolkitCode;
    const Observation observation(this);
    if (observation)
        observation->onKeyMapping(mapping);
    enter(mapping, osCodeToKXCodeMap);
    const KXLockGuard lock(keyTableMutex);
    enter(toolkitCodes, kxCodeToOSCodeMap);
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

std::optional<int> KXInputEventManager::toolkitCodeOf(int keyCode) {
    const KXLockGuard lock(keyTableMutex);
    const auto entry = kxCodeToOSCodeMap.find(keyCode);
    return entry == kxCodeToOSCodeMap.end() ? std::nullopt : std::optional(entry->second);
}

} // namespace KX
