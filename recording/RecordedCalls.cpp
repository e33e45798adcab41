#include "recording/KXRecordedCalls.h"

#include "input/KXInputEventManager.h"
#include "platform/KXStatus.h"

namespace KX::Recording {

int repeatCall(const NumberSetting& setting, KXInputEventManager& manager) {
    KXEncoderDynamic* const encoder = KXEncoderDynamic::instance();
    if (!encoder)
        return STATUS_REFUSED;
    switch (setting.name) {
    case KXInputSetting::DoubleKeyPressDuration:
        return manager.setDoubleKeyPressDuration(static_cast<unsigned int>(setting.value));
    case KXInputSetting::LongKeyPressDuration:
        return manager.setLongKeyPressDuration(static_cast<unsigned int>(setting.value));
    case KXInputSetting::EncoderUserFactor: return encoder->setUserFactor(static_cast<int>(setting.value));
    case KXInputSetting::EncoderLowPassFactor: return encoder->setLowPassFactor(static_cast<int>(setting.value));
    case KXInputSetting::AcceptInput: return manager.acceptInput(setting.value != 0);
    case KXInputSetting::KeyboardLayout: break; // no event depends on it
    }
    return STATUS_REFUSED;
}

int repeatCall(const SpeedTable& table, KXInputEventManager& /*manager*/) {
    KXEncoderDynamic* const encoder = KXEncoderDynamic::instance();
    return encoder ? encoder->setDynamicParameters(table.rows) : STATUS_REFUSED;
}

int repeatCall(const KeyMapping& mapping, KXInputEventManager& manager) {
    return manager.setKeyMapping(mapping.keyCodeOfToolkitKey);
}

int repeatCall(const Keypad& keypad, KXInputEventManager& manager) {
    return manager.setCANRemoteOptions(*keypad.layout);
}

int repeatCall(const KXToolkitEvent& event, KXInputEventManager& manager) {
    KXToolkitEvent delivered(event);
    return manager.toolkitEventOccurred(delivered);
}

int repeatCall(const KXInputEvent& event, KXInputEventManager& manager) {
    // A holder is of every class, whichever the event claims.
    KXSomeEvent delivered;
    static_cast<KXInputEvent&>(delivered) = event;
    return manager.inputEventOccurred(delivered);
}

int repeatCall(const Post& post, KXInputEventManager& manager) {
    KXSomeEvent posted(post.event);
    return manager.postToEventQueue(posted);
}

} // namespace KX::Recording
