#include "terminal/EncoderWatch.h"

#include "encoder/KXEncoderDynamic.h"
#include "terminal/EncoderView.h"
#include "terminal/InputSettings.h"

void watchEncoder(EncoderView& view, InputSettings& settings) {
    const auto showTable = [&view] {
        const KX::KXEncoderDynamic& encoder = *KX::KXEncoderDynamic::instance();
        view.setSpeedTable(encoder.getDynamicParameters(), encoder.getUserFactor());
    };
    QObject::connect(&settings, &InputSettings::changed, &view, showTable);
    showTable();
    view.setStepTimeSource([] { return KX::KXEncoderDynamic::instance()->getTimeGap(); });
}
