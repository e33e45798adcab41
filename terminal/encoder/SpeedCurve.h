#pragma once

#include "encoder/KXEncoderDynamic.h"
#include "terminal/encoder/EncoderTrace.h"
#include "terminal/look/Sizes.h"

#include <qwt_plot.h>

#include <QPointF>

#include <deque>
#include <vector>

class QwtPlotCurve;

namespace Terminal {

/// The speed table of the encoder as a curve: the increment by the time of a step, on logarithmic axes.
///
/// The present step lies on the curve, and the steps before it, which fade with age.
class SpeedCurve : public QwtPlot {
public:
    static constexpr int trailLength = 8;
    static constexpr int neutralUserFactor = 1000; ///< in thousandths

    SpeedCurve();

    /// \param userFactor         scales the increments, in thousandths
    /// \param longestStepTimeMs  the curve goes on to this time at least
    void setSpeedTable(const std::vector<KX::KXEncoderDynamicPair>& table, int userFactor, int longestStepTimeMs);

    void setSizes(const Sizes& sizes);

    /// Shows the last \ref trailLength of \p steps, which begin with the oldest one.
    void setSteps(const std::deque<EncoderTrace::Step>& steps);

    /// The corners of the curve: step time and increment.
    const std::vector<QPointF>& corners() const;

    /// The shown steps, the present one last.
    const std::vector<QPointF>& trail() const;

private:
    class Trail;

    void setScales();

    Sizes sizesNow;
    std::vector<QPointF> cornerPoints;
    QwtPlotCurve* curve;
    Trail* trailItem;
};

} // namespace Terminal
