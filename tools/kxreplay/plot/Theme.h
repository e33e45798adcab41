#pragma once

#include <QColor>

namespace Replay::Theme {

// On white: text has a contrast of at least 4.5:1, marks and bars of at least 3:1.
inline const QColor text(0x21, 0x25, 0x29);
inline const QColor quietText(0x55, 0x5B, 0x61);
inline const QColor grid(0xDE, 0xE2, 0xE6); // carries no meaning alone
inline const QColor laneGround(0xF6, 0xF7, 0xF8);
inline const QColor press(0x2E, 0x7D, 0x1E);
inline const QColor doublePress(0x14, 0x67, 0xB3);
inline const QColor longPress(0xB3, 0x5C, 0x00);
inline const QColor release(0x3B, 0x6B, 0x2E);
inline const QColor held(0x5B, 0x9A, 0x4A);
inline const QColor heldLong(0xC4, 0x75, 0x14);
inline const QColor bar(0x3F, 0x7F, 0xBF);
inline const QColor encoder(0x7A, 0x3F, 0xA8);

} // namespace Replay::Theme
