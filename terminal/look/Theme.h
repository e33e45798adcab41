#pragma once

#include "events/KXEventKind.h"

#include <QColor>
#include <QFont>

class QApplication;

/// The look of the terminal: dark, few strong colours, readable at arm's length in a cab.
namespace Terminal::Theme {

/// Sets fonts, palette and style sheet of the application. Call it once before the first window.
void apply(QApplication& application);

QColor colourOf(KX::KXGesture gesture);

/// The colour of the gesture; for moves of the encoder the colour of the encoder.
QColor colourOf(const KX::KXEventKind& kind);

QColor screen();    ///< the background
QColor panel();     ///< of areas in front of the background
QColor outline();   ///< borders of areas
QColor text();      ///< important text
QColor quietText(); ///< labels and units
QColor accent();    ///< the terminal's own colour
QColor encoder();   ///< of the encoder and its values

QFont font(int pixelSize, bool bold = false);
QFont tableFont();

/// Distance between areas and to the border of the window, in pixels.
constexpr int spacing = 10;

} // namespace Terminal::Theme
