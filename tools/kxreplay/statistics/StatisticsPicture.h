#pragma once

#include "tools/kxreplay/plot/Picture.h"
#include "tools/kxreplay/statistics/Counts.h"

#include <QString>

#include <cstdint>
#include <vector>

namespace Replay {

/// The histograms of many recordings, and what other limits would give.
class StatisticsPicture : public Drawing {
public:
    explicit StatisticsPicture(Counts counts);

    QSize size() const override;
    void paint(QPainter& painter) const override;

private:
    struct Bar {
        QString name;
        std::uint64_t count;
    };
    struct Chart {
        QString title;
        QString axis;
        std::vector<Bar> bars;
    };

    void addHistogram(Counted kind, const char* title, const char* axis);
    void addGrid(Limit limit);
    void paintChart(QPainter& painter, const Chart& chart, double top) const;

    const Counts counts;
    std::vector<Chart> charts;
};

} // namespace Replay
