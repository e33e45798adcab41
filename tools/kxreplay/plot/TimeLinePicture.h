#pragma once

#include "tools/kxreplay/plot/Axis.h"
#include "tools/kxreplay/plot/Picture.h"
#include "tools/kxreplay/plot/TimeLine.h"

#include <string>
#include <vector>

namespace Replay {

/// The time line of a recording: a lane for each key, the moves of the encoder, and the axis.
class TimeLinePicture : public Drawing {
public:
    /// \param timeLine  must outlive the picture
    TimeLinePicture(const TimeLine& timeLine, std::string title, unsigned int firstTick);

    QSize size() const override;
    void paint(QPainter& painter) const override;

private:
    double lanesBottom() const;
    double bottom() const;
    void paintHead(QPainter& painter) const;
    void paintAxis(QPainter& painter) const;
    void paintLane(QPainter& painter, const TimeLine::Lane& lane, double top) const;
    void paintSpan(QPainter& painter, const TimeLine::Span& span, double middle) const;
    void paintGaps(QPainter& painter, const TimeLine::Lane& lane, double middle) const;
    void paintMarks(QPainter& painter, const TimeLine::Lane& lane, double middle) const;
    struct Stem {
        double x;
        double end; ///< away from the base line
        int value;
        bool isDown;
    };

    void paintEncoder(QPainter& painter, double top) const;
    std::vector<Stem> stemsOf(double base, double room) const;
    void paintValues(QPainter& painter, std::vector<Stem> stems) const;

    const TimeLine& line;
    const std::string title;
    const unsigned int firstTick;
    const TimeAxis axis;
};

} // namespace Replay
