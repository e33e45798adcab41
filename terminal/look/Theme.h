#pragma once

#include "events/KXEventKind.h"

#include <QColor>
#include <QFont>

class QApplication;

/// The look of the terminal: dark, few strong colours, readable at arm's length in a cab.
///
/// Text stands out from each surface by 4.5:1 at least, marks and borders of controls by 3:1.
namespace Terminal::Theme {

/// Sets font, palette and style of the application. Call it once before the first window.
void apply(QApplication& application);

/// The style sheet of a list. An application with a style sheet would not hand the font of a window on to its widgets.
QString listStyle();

QColor colourOf(KX::KXGesture gesture);

/// The colour of the gesture; for moves of the encoder the colour of the encoder.
QColor colourOf(const KX::KXEventKind& kind);

// Surfaces, darkest first.
QColor screen();      ///< the background
QColor panel();       ///< areas in front of the background
QColor otherRow();    ///< each second row of the list
QColor face();        ///< what can be pressed
QColor litFace();     ///< of it, what is chosen
QColor pressedFace(); ///< of it, what is down
QColor alarmFace();   ///< of a warning that covers an area
QColor onFace();      ///< of a switch that is on
QColor offFace();     ///< of a switch that is off

// What stands on them.
QColor text();            ///< important text
QColor quietText();       ///< labels and units; not on a pressed, on, off or alarm face
QColor accent();          ///< the terminal's own colour
QColor encoder();         ///< of the encoder and its values
QColor warning();         ///< something was refused
QColor alarm();           ///< something is broken
QColor doublePressTime(); ///< of the line below a press; a mark
QColor edge();            ///< borders of what can be pressed
QColor outline();         ///< borders of areas and lines of a grid, which nobody needs to see

QFont font(int pixelSize, bool bold = false);
QFont tableFont(int pixelSize);

/// The greatest bold font from \p greatest down to \p least in which \p text is at most \p width pixels wide. If
/// none is, the font of \p least pixels that is not bold.
QFont fittedFont(const QString& text, int width, int greatest, int least);

} // namespace Terminal::Theme
