#include "terminal/look/PlotLook.h"

#include "terminal/look/Theme.h"

#include <QPainter>
#include <QString>

#include <qwt_plot.h>
#include <qwt_plot_canvas.h>
#include <qwt_plot_grid.h>
#include <qwt_plot_layout.h>
#include <qwt_scale_div.h>
#include <qwt_scale_draw.h>
#include <qwt_scale_widget.h>

#include <cmath>
#include <utility>

namespace Terminal {

namespace {

class SecondsScale : public QwtScaleDraw {
public:
    explicit SecondsScale(std::function<QString()> wordForZero) : zero(std::move(wordForZero)) {}

    QwtText label(double ms) const override { return zero && ms == 0 ? zero() : PlotLook::secondsText(ms); }

private:
    const std::function<QString()> zero;
};

// Writes 1234567 as "1.23 M", so that the axis keeps its width.
class ShortNumbers : public QwtScaleDraw {
public:
    ShortNumbers() {
        enableComponent(Backbone, false);
        enableComponent(Ticks, false);
        setSpacing(5);
    }

    QwtText label(double number) const override {
        const double size = std::abs(number);
        if (size >= 1e6)
            return QStringLiteral("%1 M").arg(number / 1e6, 0, 'g', 4);
        if (size >= 1e4)
            return QStringLiteral("%1 k").arg(number / 1e3, 0, 'g', 4);
        return QString::number(number, 'g', 6);
    }
};

void dressAxis(QwtPlot& plot, int axis) {
    QwtScaleWidget& scale = *plot.axisWidget(axis);
    scale.setMargin(0);
    scale.setFocusPolicy(Qt::NoFocus);
    QPalette palette = scale.palette();
    palette.setColor(QPalette::WindowText, Theme::edge()); // the ticks
    palette.setColor(QPalette::Text, Theme::quietText());  // the labels
    scale.setPalette(palette);
    QwtScaleDraw& draw = *plot.axisScaleDraw(axis);
    draw.enableComponent(QwtAbstractScaleDraw::Backbone, false);
    draw.enableComponent(QwtAbstractScaleDraw::Ticks, false);
    draw.setSpacing(5);
}

} // namespace

void PlotLook::setTextSize(QwtPlot& plot, int pixelSize) {
    for (const int axis : {QwtPlot::xBottom, QwtPlot::yLeft})
        plot.setAxisFont(axis, Theme::font(pixelSize));
}

void PlotLook::dress(QwtPlot& plot) {
    plot.setAutoReplot(false);
    plot.setFocusPolicy(Qt::NoFocus);
    plot.setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Ignored); // the view sets the size
    plot.setMinimumSize(80, 60);
    plot.setAutoFillBackground(false);
    plot.setAttribute(Qt::WA_TransparentForMouseEvents);
    plot.setCanvasBackground(Theme::screen());
    plot.plotLayout()->setAlignCanvasToScales(true);
    auto* canvas = static_cast<QwtPlotCanvas*>(plot.canvas());
    canvas->setFocusPolicy(Qt::NoFocus);
    canvas->setFrameStyle(QFrame::NoFrame);
    canvas->setBorderRadius(0);
    canvas->setPaintAttribute(QwtPlotCanvas::BackingStore, false); // each repaint shows something new
    canvas->unsetCursor();
    dressAxis(plot, QwtPlot::xBottom);
    dressAxis(plot, QwtPlot::yLeft);
}

void PlotLook::addGrid(QwtPlot& plot, bool vertical, bool horizontal) {
    auto* grid = new QwtPlotGrid;
    grid->setMajorPen(Theme::outline(), 1);
    grid->enableX(vertical);
    grid->enableY(horizontal);
    grid->attach(&plot); // the plot owns it now
}

void PlotLook::drawPanel(QPainter& painter, const QRect& area) {
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Theme::outline());
    painter.setBrush(Theme::panel());
    painter.drawRoundedRect(QRectF(area).adjusted(0.5, 0.5, -0.5, -0.5), 6, 6);
}

void PlotLook::drawHint(QPainter& painter, const QRectF& canvas, const QString& text) {
    painter.setPen(Theme::quietText());
    painter.drawText(canvas, Qt::AlignCenter | Qt::TextWordWrap, text);
}

QString PlotLook::secondsText(double ms) {
    const double rounded = std::round(ms);
    const QString sign = rounded < 0 ? QStringLiteral("\u2212") : QString();
    const double size = std::abs(rounded);
    if (size >= 60000 && std::fmod(size, 60000) == 0)
        return sign + QStringLiteral("%1 min").arg(size / 60000);
    if (std::fmod(size, 100) == 0)
        return sign + QStringLiteral("%1 s").arg(size / 1000);
    return sign + QStringLiteral("%1 ms").arg(size);
}

QwtScaleDraw* PlotLook::makeSecondsScale(std::function<QString()> zero) {
    auto* scale = new SecondsScale(std::move(zero));
    scale->enableComponent(QwtAbstractScaleDraw::Backbone, false);
    scale->enableComponent(QwtAbstractScaleDraw::Ticks, false);
    scale->setSpacing(5);
    return scale;
}

QwtScaleDraw* PlotLook::makeNumbersScale() {
    return new ShortNumbers;
}

double PlotLook::roundStep(double smallest) {
    const double power = std::pow(10, std::floor(std::log10(smallest)));
    for (const double factor : {1.0, 2.0, 5.0})
        if (factor * power >= smallest)
            return factor * power;
    return 10 * power;
}

QwtScaleDiv PlotLook::ticksAt(double first, double last, const std::vector<double>& values) {
    QwtScaleDiv division(first, last);
    division.setTicks(QwtScaleDiv::MajorTick, QList<double>(values.begin(), values.end()));
    return division;
}

} // namespace Terminal
