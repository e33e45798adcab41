#pragma once

#include <vector>

class QPainter;
class QRect;
class QRectF;
class QString;
class QwtPlot;
class QwtScaleDraw;
class QwtScaleDiv;

/// How plots look in the terminal, and what their parts share.
namespace Terminal::PlotLook {

/// Dark, no frame, never the focus, nothing in it that moves by itself. Once for each plot.
void dress(QwtPlot& plot);

/// Thin lines behind the plot, at the major ticks of the axes asked for.
void addGrid(QwtPlot& plot, bool vertical, bool horizontal);

/// The rounded area that a view stands on.
void drawPanel(QPainter& painter, const QRect& area);

/// What an empty plot says.
void drawHint(QPainter& painter, const QRectF& canvas, const QString& text);

/// Labels of an axis of time in ms: "\u22122 s" for -2000, "\u2212250 ms" for -250.
QString secondsText(double ms);

/// A scale draw for an axis of time in ms. The axis takes it over.
QwtScaleDraw* makeSecondsScale();

/// A distance between ticks that a reader can count in, 1, 2 or 5 times a power of ten, and at least \p smallest.
double roundStep(double smallest);

/// Ticks at just these values.
QwtScaleDiv ticksAt(double first, double last, const std::vector<double>& values);

} // namespace Terminal::PlotLook
