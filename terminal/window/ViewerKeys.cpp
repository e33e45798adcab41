#include "terminal/window/ViewerKeys.h"

#include "events/KXEventType.h"
#include "input/KXInputEventManager.h"

#include <algorithm>

namespace Terminal {

namespace {

// From the toolkit's key to the key code. The library offers only the opposite table.
int keyCodeOf(int toolkitKey) {
    const auto& toolkitKeys = *KX::KXInputEventManager::getKXtoOSCodeMap();
    const auto found = std::find_if(toolkitKeys.begin(), toolkitKeys.end(),
                                    [toolkitKey](const auto& entry) { return entry.second == toolkitKey; });
    return found == toolkitKeys.end() ? KX::KX_KEY_NONE : found->first;
}

} // namespace

std::optional<KX::KXInputEvent> viewerEvent(const KX::KXToolkitEvent& report) {
    KX::KXInputEvent event;
    event.timeStamp = report.timeStamp;
    event.osKeyCode = report.osKeyCode;
    switch (report.eventType) {
    case KX::TOOLKIT_WHEEL_EVENT:
        event.eventType = KX::ENCODER_MOVE_EVENT;
        event.keyCode = report.keyCode;
        event.count = report.count;
        return event;
    case KX::TOOLKIT_KEY_PRESS_EVENT:
    case KX::TOOLKIT_KEY_AUTO_REPEAT_PRESS_EVENT: // a held key scrolls on
        event.keyCode = keyCodeOf(report.osKeyCode);
        event.count = 1;
        event.eventType = KX::isStepKey(event.keyCode) ? KX::ENCODER_MOVE_EVENT : KX::KEY_PRESS_EVENT;
        return event;
    case KX::TOOLKIT_KEY_RELEASE_EVENT:
        event.keyCode = keyCodeOf(report.osKeyCode);
        event.eventType = KX::KEY_RELEASE_EVENT;
        return event;
    default: return std::nullopt;
    }
}

} // namespace Terminal
