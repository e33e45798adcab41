#pragma once

class QPoint;
class QWidget;

/// Parts of the window that are no part of the terminal's screen but pictures of a device of their own. What the
/// mouse does there is done to that device, which reports it on its own way; the toolkit layer leaves it out.
namespace Terminal::SeparateDevice {

/// Presses of the mouse that begin on \p widget or its children are the device's.
void takesPresses(QWidget& widget);

/// The wheel over \p widget or its children is the device's.
void takesWheel(QWidget& widget);

bool ownsPress(const QWidget& window, const QPoint& position);
bool ownsWheel(const QWidget& window, const QPoint& position);

} // namespace Terminal::SeparateDevice
