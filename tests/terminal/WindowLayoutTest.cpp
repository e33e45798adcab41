// On every screen size nothing is cut off, nothing overlaps, and a finger can hit everything.

#include "terminal/events/EventModel.h"
#include "terminal/look/ScreenButton.h"
#include "terminal/look/Sizes.h"
#include "terminal/settings/InputSettings.h"
#include "terminal/window/MainWindow.h"
#include "terminal/window/PageArea.h"
#include "terminal/window/SoftKeyBar.h"

#include <QAbstractButton>
#include <QLabel>
#include <QtTest>

#include <gtest/gtest.h>

#include <ostream>

using namespace Terminal;

namespace {

class WindowLayoutTest : public testing::TestWithParam<QSize> {
protected:
    WindowLayoutTest() : settings([](KX::KXInputSetting, int) { return 0; }), window(model, settings) {
        model.append(ClassifiedEvents(10000)); // makes the counter wide
        window.resize(GetParam());
        window.show();
        QCoreApplication::processEvents();
    }

    QRect placeOf(const QWidget& widget) const { return {widget.mapTo(&window, QPoint()), widget.size()}; }

    template<typename Widget>
    QVector<Widget*> visible() const {
        QVector<Widget*> found;
        for (Widget* widget : window.findChildren<Widget*>())
            if (widget->isVisible())
                found.append(widget);
        return found;
    }

    EventModel model;
    InputSettings settings;
    MainWindow window;
};

std::string describe(const QAbstractButton& button) {
    return button.metaObject()->className() + (" '" + button.text().toStdString() + "'");
}

} // namespace

TEST_P(WindowLayoutTest, ButtonsAreWholeApartAndLargeEnough) {
    for (const Page page : window.pages().bar().pages()) {
        SCOPED_TRACE("page " + std::to_string(static_cast<int>(page)));
        window.showPage(page);
        QCoreApplication::processEvents();
        EXPECT_EQ(GetParam(), window.size());
        const QVector<QAbstractButton*> buttons = visible<QAbstractButton>();
        EXPECT_GE(buttons.size(), window.softKeyBar().isVisible() ? 8 + 4 : pageCount);
        for (int i = 0; i < buttons.size(); ++i) {
            const QAbstractButton& button = *buttons[i];
            const QRect place = placeOf(button);
            EXPECT_TRUE(window.rect().contains(place)) << describe(button);
            EXPECT_EQ(place.size(), QRegion(button.visibleRegion()).boundingRect().size()) << describe(button);
            EXPECT_GE(place.width(), Sizes::touchLeast) << describe(button);
            EXPECT_GE(place.height(), Sizes::touchLeast) << describe(button);
            EXPECT_GE(place.width(), qobject_cast<const ScreenButton*>(&button) ? button.sizeHint().width() : 0)
                << describe(button) << ": its text is cut off";
            for (int other = 0; other < i; ++other)
                EXPECT_FALSE(place.intersects(placeOf(*buttons[other])))
                    << describe(button) << " overlaps " << describe(*buttons[other]);
        }
    }
}

TEST_P(WindowLayoutTest, LabelsAreWhole) {
    for (const Page page : window.pages().bar().pages()) {
        window.showPage(page);
        QCoreApplication::processEvents();
        for (const QLabel* label : visible<QLabel>()) {
            const QSize needed = label->fontMetrics().size(0, label->text());
            EXPECT_GE(label->width(), needed.width()) << qPrintable(label->text());
            EXPECT_GE(label->height(), needed.height()) << qPrintable(label->text());
            EXPECT_TRUE(window.rect().contains(placeOf(*label))) << qPrintable(label->text());
        }
    }
}

TEST_P(WindowLayoutTest, EveryPageHasTheRoomThatItNeeds) {
    for (const Page page : window.pages().bar().pages()) {
        window.showPage(page);
        QCoreApplication::processEvents();
        const QWidget& widget = window.pages().pageWidget(page);
        EXPECT_TRUE(window.rect().contains(placeOf(widget))) << static_cast<int>(page);
        EXPECT_GE(widget.width(), widget.minimumSizeHint().width()) << static_cast<int>(page);
        EXPECT_GE(widget.height(), widget.minimumSizeHint().height()) << static_cast<int>(page);
    }
}

INSTANTIATE_TEST_SUITE_P(Screens, WindowLayoutTest,
                         testing::Values(QSize(640, 480), QSize(800, 480), QSize(1024, 600), QSize(1000, 699),
                                         QSize(1000, 700), QSize(1024, 768), QSize(1280, 800), QSize(1920, 1080)),
                         [](const testing::TestParamInfo<QSize>& size) {
                             return std::to_string(size.param.width()) + "x" + std::to_string(size.param.height());
                         });
