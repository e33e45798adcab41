#include "terminal/encoder/EncoderWatch.h"

#include "encoder/KXEncoderDynamic.h"
#include "terminal/encoder/EncoderView.h"
#include "terminal/settings/InputSettings.h"

namespace Terminal {

void watchEncoder(EncoderView& view, InputSettings& settings) {
    QObject::connect(&settings, &InputSettings::changed, &view, [&view] { showSpeedTable(view); });
    showSpeedTable(view);
    view.setStepTimeSource([] { return KX::KXEncoderDynamic::instance()->getTimeGap(); });
}

void showSpeedTable(EncoderView& view) {
    const KX::KXEncoderDynamic& encoder = *KX::KXEncoderDynamic::instance();
    view.setSpeedTable(encoder.getDynamicParameters(), encoder.getUserFactor());
}

} // namespace Terminal
