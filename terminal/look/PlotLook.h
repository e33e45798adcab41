#pragma once

#include <functional>
#include <vector>

class QPainter;
class QRect;
class QRectF;
class QString;
class QwtPlot;
class QwtScaleDraw;
class QwtScaleDiv;

/// The common look of the plots, and the parts that they share.
namespace Terminal::PlotLook {

/// Dark, without frame or focus, and nothing moves by itself. Call it once per plot.
void dress(QwtPlot& plot);

/// The size of the labels at the axes.
void setTextSize(QwtPlot& plot, int pixelSize);

/// Thin lines behind the plot at the major ticks of the chosen axes.
void addGrid(QwtPlot& plot, bool vertical, bool horizontal);

/// The rounded background of a view.
void drawPanel(QPainter& painter, const QRect& area);

/// The text of an empty plot, in the font of \p painter.
void drawHint(QPainter& painter, const QRectF& canvas, const QString& text);

/// Labels of an axis of time in ms: "\u22122 s" for -2000, "\u2212250 ms" for -250.
QString secondsText(double ms);

/// A scale for an axis of time in ms. \p zero names the time 0, otherwise it is "0 s". The axis takes ownership.
QwtScaleDraw* makeSecondsScale(std::function<QString()> zero = nullptr);

/// A scale that writes large numbers short, "1.23 M" for 1234567, so that the axis keeps its width. The axis takes
/// ownership.
QwtScaleDraw* makeNumbersScale();

/// A distance between ticks that is easy to count: 1, 2 or 5 times a power of ten, at least \p smallest.
double roundStep(double smallest);

/// Ticks at exactly these values.
QwtScaleDiv ticksAt(double first, double last, const std::vector<double>& values);

} // namespace Terminal::PlotLook
