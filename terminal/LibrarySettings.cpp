#include "terminal/LibrarySettings.h"

#include "encoder/KXEncoderDynamic.h"
#include "input/KXInputEventManager.h"

int applyToLibrary(InputSettings::Setting setting, int value) {
    KX::KXInputEventManager& manager = *KX::KXInputEventManager::getInstance();
    switch (setting) {
    case InputSettings::DoublePressMs:
        return manager.setDoubleKeyPressDuration(static_cast<unsigned int>(value));
    case InputSettings::LongPressMs:
        return manager.setLongKeyPressDuration(static_cast<unsigned int>(value));
    case InputSettings::UserFactor:
        return KX::KXEncoderDynamic::instance()->setUserFactor(value);
    case InputSettings::LowPassFactor:
        return KX::KXEncoderDynamic::instance()->setLowPassFactor(value);
    default:
        return manager.acceptInput(value != 0);
    }
}
