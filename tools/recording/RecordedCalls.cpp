#include "tools/recording/RecordedCalls.h"

#include "input/KXInputEventManager.h"
#include "platform/KXStatus.h"

namespace Recording {

int repeatCall(const NumberSetting& setting, KX::KXInputEventManager& manager) {
    KX::KXEncoderDynamic* const encoder = KX::KXEncoderDynamic::instance();
    if (!encoder)
        return KX::STATUS_REFUSED;
    switch (setting.name) {
    case KX::KXInputSetting::DoubleKeyPressDuration:
        return manager.setDoubleKeyPressDuration(static_cast<unsigned int>(setting.value));
    case KX::KXInputSetting::LongKeyPressDuration:
        return manager.setLongKeyPressDuration(static_cast<unsigned int>(setting.value));
    case KX::KXInputSetting::EncoderUserFactor: return encoder->setUserFactor(static_cast<int>(setting.value));
    case KX::KXInputSetting::EncoderLowPassFactor:
        return encoder->setLowPassFactor(static_cast<int>(setting.value));
    case KX::KXInputSetting::AcceptInput: return manager.acceptInput(setting.value != 0);
    case KX::KXInputSetting::KeyboardLayout: break; // no event depends on it
    }
    return KX::STATUS_REFUSED;
}

int repeatCall(const SpeedTable& table, KX::KXInputEventManager& /*manager*/) {
    KX::KXEncoderDynamic* const encoder = KX::KXEncoderDynamic::instance();
    return encoder ? encoder->setDynamicParameters(table.rows) : KX::STATUS_REFUSED;
}

int repeatCall(const KeyMapping& mapping, KX::KXInputEventManager& manager) {
    return manager.setKeyMapping(mapping.keyCodeOfToolkitKey);
}

int repeatCall(const Keypad& keypad, KX::KXInputEventManager& manager) {
    return manager.setCANRemoteOptions(*keypad.layout);
}

int repeatCall(const KX::KXToolkitEvent& event, KX::KXInputEventManager& manager) {
    KX::KXToolkitEvent delivered(event);
    return manager.toolkitEventOccurred(delivered);
}

} // namespace Recording
