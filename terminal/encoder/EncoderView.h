#pragma once

#include "encoder/KXEncoderDynamic.h"
#include "terminal/encoder/EncoderTrace.h"
#include "terminal/encoder/SpeedCurve.h"
#include "terminal/look/DisplayPace.h"

#include <QWidget>

#include <functional>
#include <vector>

class QwtPlotCurve;

namespace Terminal {

class InputSettings;

/// Shows how the encoder accelerates: the speed table as a curve with the present step on it, and how the value of the
/// present turn has grown. Its axes fit the turn.
///
/// It repaints only for new moves and for a new table.
class EncoderView : public QWidget {
    Q_OBJECT

public:
    static constexpr int trailLength = SpeedCurve::trailLength;

    explicit EncoderView(QWidget* parent = nullptr);

    /// \p userFactor scales the increments, in thousandths, as in the encoder.
    void setSpeedTable(const std::vector<KX::KXEncoderDynamicPair>& table, int userFactor);

    /// \p read returns the present smoothed step time in ms. It is called on this thread for the last move of each
    /// batch. Without it the view estimates the time from the moves.
    void setStepTimeSource(std::function<int()> read);

    /// Shows the encoder moves among \p events, oldest first.
    void append(const ClassifiedEvents& events);

    /// \p move is an ENCODER_MOVE_EVENT.
    void showMove(const KX::KXInputEvent& move, int stepTimeMs);

    const EncoderTrace& trace() const;

    /// The corners of the curve that the table makes: step time and increment.
    const std::vector<QPointF>& curveCorners() const;

    /// The points on the curve, the present one last.
    const std::vector<QPointF>& trail() const;

    /// The large numbers beside the plots: what the last event added, what each of its steps counted and how long
    /// a step took, and what the whole turn has added.
    QString eventText() const;
    QString stepText() const;
    QString stepTimeText() const;
    QString turnText() const;

    /// The time axis of the whole turn: from its begin to its end, in ms.
    QPointF turnAxis() const;

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void changeEvent(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void makeValuePlot();
    void scheduleRefresh();
    void refresh();
    void arrange();
    void showTurn();
    void scaleTurn(double turnMs, double least, double greatest);
    QRect numbersArea() const;
    int headingHeight() const;
    void drawHeading(QPainter& painter, const QwtPlot& below, const QString& text) const;

    EncoderTrace encoderTrace;
    std::function<int()> readStepTime;
    SpeedCurve* curvePlot = nullptr;
    QwtPlot* valuePlot = nullptr;
    QwtPlotCurve* values = nullptr;
    RefreshPace pace;
};

/// Makes \p view show the library's encoder: its speed table, scaled by the factor in \p settings, and the present
/// step time. Must be called on the thread that reports input, because the encoder takes no lock. The
/// library's encoder must exist as long as \p view gets events.
void watchEncoder(EncoderView& view, InputSettings& settings);

/// Shows the library's speed table as it is now.
void showSpeedTable(EncoderView& view);

} // namespace Terminal
