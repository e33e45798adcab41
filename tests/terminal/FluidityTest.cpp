// The cost of the window for the thread that draws it and takes the operator's input. The list is full, and events
// arrive faster than hands can make them.

#include "events/KXEventType.h"
#include "terminal/events/EventModel.h"
#include "terminal/events/EventPage.h"
#include "terminal/look/DisplayPace.h"
#include "terminal/look/KeyCodes.h"
#include "terminal/look/ScreenButton.h"
#include "terminal/settings/InputSettings.h"
#include "terminal/window/MainWindow.h"
#include "terminal/window/OperatorScreen.h"
#include "terminal/window/PageArea.h"

#include <QElapsedTimer>
#include <QImage>
#include <QPainter>
#include <QScrollBar>
#include <QtTest>

#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <iostream>
#include <vector>

using namespace Terminal;

namespace {

constexpr int eventsPerSecond = 200;
constexpr int updatesPerPage = 25;
constexpr int eventsPerUpdate = eventsPerSecond * RefreshPace::shortestIntervalMs / 1000;

// Limits are in multiples of what this machine needs to draw a page, so a slow, instrumented or emulated one gives the
// same result.
constexpr double medianLimitInPages = 6;
constexpr double worstLimitInPages = 20;

// Other programs do not count, so a busy machine gives the same result.
double usedProcessorMs() {
    timespec used = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
    return static_cast<double>(used.tv_sec) * 1e3 + static_cast<double>(used.tv_nsec) / 1e6;
}

// A small window full of words and marks, drawn without any widget.
double msToDrawAPage() {
    constexpr int drawings = 25;
    QImage image(800, 480, QImage::Format_ARGB32_Premultiplied);
    std::vector<double> used;
    for (int i = 0; i < drawings; ++i) {
        const double before = usedProcessorMs();
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.fillRect(image.rect(), Qt::white);
        const int rowHeight = painter.fontMetrics().height();
        for (int y = rowHeight; y < image.height(); y += rowHeight)
            for (int x = 0; x < image.width(); x += 200) {
                painter.drawText(x, y, QStringLiteral("ENCODER_MOVE_EVENT %1").arg(y * i + x));
                painter.drawRoundedRect(QRectF(x + 0.3, y - 7.7, 30, 7), 2, 2);
                painter.drawEllipse(QPointF(x + 40.5, y - 4.2), 4, 4);
            }
        used.push_back(usedProcessorMs() - before);
    }
    std::sort(used.begin(), used.end());
    return used[drawings / 2];
}

// An operator who does everything at once: presses and releases soft keys and turns the knob in between.
KX::KXInputEvent eventNumber(unsigned int number) {
    static const int types[] = {KX::KEY_PRESS_EVENT,   KX::ENCODER_MOVE_EVENT,       KX::KEY_RELEASE_EVENT,
                                KX::MOUSE_PRESS_EVENT, KX::MOUSE_DOUBLE_PRESS_EVENT, KX::MOUSE_RELEASE_EVENT};
    KX::KXInputEvent event;
    event.eventType = types[number % 6];
    event.keyCode = event.eventType == KX::ENCODER_MOVE_EVENT
                        ? KX::KX_KEY_UP
                        : KeyCodes::firstSoftKey + static_cast<int>(number / 6 % 8);
    event.osKeyCode = 0x1000000 + event.keyCode;
    event.timeStamp = number * 1000 / eventsPerSecond;
    event.value = event.eventType == KX::ENCODER_MOVE_EVENT ? static_cast<int>(number % 300) : 0;
    event.count = event.eventType == KX::ENCODER_MOVE_EVENT ? 3 : -1;
    event.eventData[1] = Qt::LeftButton;
    return event;
}

// Counts how often a widget was painted. Drawing is the cost.
class Paintings : public QObject {
public:
    explicit Paintings(QWidget& widget) { widget.installEventFilter(this); }

    bool eventFilter(QObject* /*receiver*/, QEvent* event) override {
        count += event->type() == QEvent::Paint ? 1 : 0;
        return false;
    }

    int count = 0;
};

class FluidityTest : public testing::TestWithParam<QSize> {
protected:
    void SetUp() override {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
        GTEST_SKIP() << "What it costs with a sanitizer says nothing of the program.";
#endif
    }

    FluidityTest() : settings([](KX::KXInputSetting, int) { return 0; }), window(model, settings) {
        model.append(nextEvents(EventModel::capacity));
        const double pageMs = msToDrawAPage();
        std::cout << "drawing a page takes " << pageMs << " ms here\n";
        medianLimitMs = medianLimitInPages * pageMs;
        worstLimitMs = worstLimitInPages * pageMs;
        window.resize(GetParam());
        window.show();
        QTest::qWait(200);
    }

    ClassifiedEvents nextEvents(int count) {
        ClassifiedEvents events;
        for (int i = 0; i < count; ++i)
            events.push_back(eventNumber(nextNumber++));
        return events;
    }

    // One update of the display and the rest of its interval, so that timers of the views can run.
    double update() {
        QElapsedTimer interval;
        interval.start();
        const double before = usedProcessorMs();
        model.append(nextEvents(eventsPerUpdate));
        QCoreApplication::processEvents();
        QTest::qWait(std::max(1, RefreshPace::shortestIntervalMs - static_cast<int>(interval.elapsed())));
        return usedProcessorMs() - before;
    }

    EventModel model;
    InputSettings settings;
    MainWindow window;
    unsigned int nextNumber = 1;
    double medianLimitMs = 0;
    double worstLimitMs = 0;
};

} // namespace

TEST_P(FluidityTest, NoPageCostsMoreThanPartOfItsInterval) {
    const QVector<Page> pages = window.pages().bar().pages();
    for (const Page page : pages) {
        window.showPage(page);
        update(); // the change of the page itself
        Paintings paintings(*window.findChild<OperatorScreen*>());
        std::vector<double> used;
        for (int i = 0; i < updatesPerPage; ++i)
            used.push_back(update());
        std::sort(used.begin(), used.end());
        const double median = used[used.size() / 2];
        std::cout << window.pages().bar().button(page).text().section(QLatin1Char('\t'), 0, 0).toStdString()
                  << ": median " << median << " ms, worst " << used.back() << " ms of processor time in "
                  << RefreshPace::shortestIntervalMs << " ms\n";
        EXPECT_GE(paintings.count, updatesPerPage);
        EXPECT_LE(median, medianLimitMs);
        EXPECT_LE(used.back(), worstLimitMs);
    }
    EXPECT_EQ(EventModel::capacity, model.rowCount());
}

TEST_P(FluidityTest, TheListIsScrolledAndKeepsItsPlaceMeanwhile) {
    window.showPage(Page::Events);
    update();
    EventPage& page = window.pages().events();
    const QScrollBar& bar = *page.list().verticalScrollBar();
    const auto tickAtTop = [&] { return model.eventAt(page.list().rowAt(0)).timeStamp; };
    EXPECT_EQ(model.eventAt(0).timeStamp, tickAtTop());

    for (int turn = 0; turn < 10; ++turn) {
        const unsigned int before = tickAtTop();
        const double start = usedProcessorMs();
        QTest::mouseClick(&page.olderButton(), Qt::LeftButton);
        QCoreApplication::processEvents();
        EXPECT_LE(usedProcessorMs() - start, worstLimitMs);
        const unsigned int after = tickAtTop();
        EXPECT_EQ(before - static_cast<unsigned int>(bar.pageStep()) * 1000 / eventsPerSecond, after) << turn;
        EXPECT_LE(update(), worstLimitMs);
        EXPECT_EQ(after, tickAtTop()) << "the list has moved under the reader's eyes, " << turn;
    }
    QTest::mouseClick(&page.newestButton(), Qt::LeftButton);
    update();
    EXPECT_EQ(model.eventAt(0).timeStamp, tickAtTop());
}

INSTANTIATE_TEST_SUITE_P(Sizes, FluidityTest, testing::Values(QSize(800, 480), QSize(1920, 1080)),
                         [](const testing::TestParamInfo<QSize>& size) {
                             return std::to_string(size.param.width()) + "x" + std::to_string(size.param.height());
                         });
