#include "events/KXEventType.h"
#include "input/KXInputEventManager.h"
#include "platform/KXExport.h"

extern "C" KX_EXPORT void generateHome() {
    KX::KXInputEvent event;
    event.eventType = KX::KEY_PRESS_EVENT;
    event.keyCode = KX::KX_KEY_HOME;
    KX::KXInputEventManager::generateKeyEvent(event);
}

extern "C" KX_EXPORT void createManager() {
    KX::KXInputEventManager::createInstance();
}

extern "C" KX_EXPORT void deleteManager() {
    KX::KXInputEventManager::deleteInstance();
}
