#pragma once

class QPoint;
class QWidget;

/// Parts of the window that are not part of the terminal's screen, but pictures of separate devices. The device
/// itself reports what the mouse does there, so the toolkit layer ignores it.
namespace Terminal::SeparateDevice {

/// Mouse presses that begin on \p widget or its children belong to the device.
void takesPresses(QWidget& widget);

/// The wheel over \p widget or its children belongs to the device.
void takesWheel(QWidget& widget);

bool ownsPress(const QWidget& window, const QPoint& position);
bool ownsWheel(const QWidget& window, const QPoint& position);

} // namespace Terminal::SeparateDevice
