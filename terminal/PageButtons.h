#pragma once

#include <QVector>

class QVBoxLayout;

namespace Terminal {

class ScreenButton;

/// A column of buttons at the side of a page, all of the same size, which share its height up to what is handy.
QVBoxLayout* makeButtonColumn(const QVector<ScreenButton*>& buttons);

} // namespace Terminal
