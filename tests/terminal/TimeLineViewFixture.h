#pragma once

#include "events/KXEventType.h"
#include "platform/simulated/KXSimulation.h"
#include "terminal/look/DisplayPace.h"
#include "terminal/look/Theme.h"
#include "terminal/timeline/TimeLineView.h"

#include <QImage>
#include <QtTest>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <limits>

namespace Terminal::TimeLineViewTesting {

constexpr int keyA = 7;
constexpr int keyB = 8;

inline KX::KXInputEvent keyEvent(int eventType, unsigned int tick, int keyCode = keyA) {
    KX::KXInputEvent event;
    event.eventType = eventType;
    event.timeStamp = tick;
    event.keyCode = keyCode;
    return event;
}

// Taps of 50 ms, 100 ms apart, of two keys in turn.
inline ClassifiedEvents taps(unsigned int firstTick, unsigned int count) {
    ClassifiedEvents events;
    for (unsigned int number = 0; number < count; ++number) {
        const int key = number % 2 == 0 ? keyA : keyB;
        events.push_back(keyEvent(KX::KEY_PRESS_EVENT, firstTick + number * 100, key));
        events.push_back(keyEvent(KX::KEY_RELEASE_EVENT, firstTick + number * 100 + 50, key));
    }
    return events;
}

// Soft edges blend colours, so a similar colour is accepted.
inline bool isNear(const QColor& one, const QColor& other) {
    constexpr int tolerance = 12;
    return std::abs(one.red() - other.red()) <= tolerance && std::abs(one.green() - other.green()) <= tolerance &&
           std::abs(one.blue() - other.blue()) <= tolerance;
}

// Other programs do not count, so a busy machine gives the same result.
inline double usedProcessorMs() {
    timespec used = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
    return static_cast<double>(used.tv_sec) * 1e3 + static_cast<double>(used.tv_nsec) / 1e6;
}

/// A view on a small screen. The tick of this machine is 1000000.
class TimeLineViewFixture : public testing::Test {
protected:
    using Time = KeyTimeLine::Time;

    TimeLineViewFixture() {
        KX::KXSimulation::reset();
        KX::KXSimulation::setTick(1000000);
        view.showRecording();
        showAt(QSize(780, 320));
    }

    ~TimeLineViewFixture() override { KX::KXSimulation::reset(); }

    void showAt(const QSize& size) {
        view.resize(size);
        view.show();
        QCoreApplication::processEvents();
    }

    void append(const ClassifiedEvents& events) {
        view.append(events);
        waitForPace();
    }

    static void waitForPace() {
        QTest::qWait(2 * RefreshPace::shortestIntervalMs);
        QCoreApplication::processEvents(); // timers that were due during the wait
    }

    bool comesToRest() const {
        return QTest::qWaitFor([this] { return !view.isTicking(); });
    }

    QImage picture() { return view.grab().toImage(); }

    int xAt(Time time) const {
        const QRect area = view.timeArea();
        const double share = static_cast<double>(time - view.rightmostTime() + view.visibleMs()) /
                             static_cast<double>(view.visibleMs());
        return area.left() + static_cast<int>(share * area.width());
    }

    // How many pixels of the column at this time have this colour.
    int pixelsAt(const QImage& image, Time time, const QColor& colour) const {
        const QRect area = view.timeArea();
        int found = 0;
        for (int y = area.top(); y <= area.bottom(); ++y)
            found += isNear(image.pixelColor(xAt(time), y), colour) ? 1 : 0;
        return found;
    }

    int pixelsIn(const QImage& image, const QColor& colour) const {
        const QRect area = view.timeArea();
        int found = 0;
        for (int y = area.top(); y <= area.bottom(); ++y)
            for (int x = area.left(); x <= area.right(); ++x)
                found += isNear(image.pixelColor(x, y), colour) ? 1 : 0;
        return found;
    }

    double usedMsToPaint() {
        QImage image(view.size(), QImage::Format_ARGB32_Premultiplied);
        double least = std::numeric_limits<double>::infinity();
        for (int attempt = 0; attempt < 15; ++attempt) {
            const double begin = usedProcessorMs();
            view.render(&image);
            least = std::min(least, usedProcessorMs() - begin);
        }
        return least;
    }

    void drag(int fromX, int toX) {
        const int y = view.timeArea().center().y();
        QTest::mousePress(&view, Qt::LeftButton, Qt::NoModifier, QPoint(fromX, y));
        QMouseEvent move(QEvent::MouseMove, QPoint(toX, y), Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(&view, &move);
        QTest::mouseRelease(&view, Qt::LeftButton, Qt::NoModifier, QPoint(toX, y));
    }

    const QColor press = Theme::colourOf(KX::KXGesture::Press);
    const QColor doublePress = Theme::colourOf(KX::KXGesture::DoublePress);
    const QColor longPress = Theme::colourOf(KX::KXGesture::LongPress);
    TimeLineView view;
};

} // namespace Terminal::TimeLineViewTesting
