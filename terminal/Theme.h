#pragma once

#include "events/KXEventKind.h"

#include <QColor>
#include <QFont>

class QApplication;

/// The look of the terminal: dark, with few strong colours, readable at arm's length in a cab.
namespace Terminal::Theme {

/// Sets fonts, palette and style sheet of the application. Once, before the first window.
void apply(QApplication& application);

QColor colourOf(KX::KXGesture gesture);

/// The colour of the gesture; moves of the encoder have that of the encoder.
QColor colourOf(const KX::KXEventKind& kind);

QColor screen();    ///< behind everything
QColor panel();     ///< of areas that stand out from the screen
QColor outline();   ///< between areas
QColor text();      ///< what matters
QColor quietText(); ///< labels and units
QColor accent();    ///< the terminal's own colour
QColor encoder();   ///< of the encoder and what it counts

QFont font(int pixelSize, bool bold = false);
QFont tableFont();

/// Distance between areas and from the border of the window, in pixels.
constexpr int spacing = 10;

} // namespace Terminal::Theme
