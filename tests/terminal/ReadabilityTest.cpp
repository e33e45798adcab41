// Everything that the window writes, on each page and at each size of a screen: large enough, whole, apart from other
// texts, and with enough contrast to what is really behind it.

#include "ContrastRatio.h"
#include "DrawnTexts.h"

#include "actions/KXActionQueue.h"
#include "events/KXEventType.h"
#include "input/KXInputEventManager.h"
#include "platform/simulated/KXSimulation.h"
#include "recording/KXKeyLayout.h"
#include "terminal/actions/ActionDesk.h"
#include "terminal/actions/ActionPanel.h"
#include "terminal/encoder/EncoderView.h"
#include "terminal/events/EventModel.h"
#include "terminal/events/EventPage.h"
#include "terminal/keypad/KeypadPanel.h"
#include "terminal/look/KeyCodes.h"
#include "terminal/look/ScreenButton.h"
#include "terminal/look/Sizes.h"
#include "terminal/settings/InputSettings.h"
#include "terminal/timeline/TimeLineControls.h"
#include "terminal/timeline/TimeLineView.h"
#include "terminal/window/MainWindow.h"
#include "terminal/window/OperatorScreen.h"
#include "terminal/window/PageArea.h"
#include "terminal/window/SoftKeyBar.h"

#include <QImage>
#include <QPixmap>
#include <QtTest>

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <ostream>

using namespace Terminal;

namespace {

constexpr double leastContrast = 4.5;

KX::KXInputEventManager* startManager() {
    KX::KXSimulation::reset();
    KX::KXSimulation::setTick(1000000);
    auto* const manager = KX::KXInputEventManager::createInstance();
    manager->setKeyMapping(KeyCodes::functionKeys());
    KX::KXActionQueue::create();
    return manager;
}

class ReadabilityTest : public testing::TestWithParam<QSize> {
protected:
    ReadabilityTest()
        : manager(startManager()), settings([](KX::KXInputSetting, int) { return 0; }), window(model, settings) {
        window.keypad().setLayoutOfKeys(KX::KeyLayout::builtIn());
        window.keypad().watchBus([] { return BusStatus{QStringLiteral("can0"), QStringLiteral("up"), true}; });
        window.resize(GetParam());
        window.show();
        QCoreApplication::processEvents();
    }

    ~ReadabilityTest() override {
        KX::KXActionQueue::release();
        KX::KXInputEventManager::deleteInstance();
    }

    KX::KXInputEvent event(int type, int keyCode, int value = 0) {
        KX::KXInputEvent made;
        made.eventType = type;
        made.keyCode = keyCode;
        made.osKeyCode = 0x1000030;
        made.timeStamp = tick += 90;
        made.value = value;
        made.count = type == KX::ENCODER_MOVE_EVENT ? 12 : -1;
        return made;
    }

    // Every kind of event, with numbers that are long.
    void work() {
        ClassifiedEvents events;
        for (const int key :
             std::initializer_list<int>{KX::KX_KEY_HOME, KeyCodes::firstSoftKey + 3, KeyCodes::startLoop}) {
            for (const int type : std::initializer_list<int>{KX::KEY_PRESS_EVENT, KX::KEY_RELEASE_EVENT,
                                                             KX::KEY_DOUBLE_PRESS_EVENT, KX::KEY_LONG_PRESS_EVENT,
                                                             KX::KEY_LONG_RELEASE_EVENT, KX::KEY_RELEASE_EVENT})
                events.push_back(event(type, key));
            events.push_back(event(KX::ENCODER_MOVE_EVENT, KX::KX_KEY_UP, 123456));
        }
        events.push_back(event(KX::KEY_DOUBLE_PRESS_EVENT, KX::KX_KEY_RETURN));
        events.push_back(event(KX::KEY_RELEASE_EVENT, KX::KX_KEY_RETURN));
        KX::KXSimulation::setTick(tick);
        for (const KX::KXInputEvent& made : events)
            desk.takeEvent(made);
        model.append(events);
        window.actions().showState(desk);
    }

    void show(Page page) {
        window.showPage(page);
        QTest::qWait(2 * RefreshPace::shortestIntervalMs);
        QCoreApplication::processEvents();
    }

    double leastSize() const { return GetParam().width() >= 800 ? Sizes::unitOfDesign : Sizes::smallestUnit; }

    void checkTexts() {
        const QVector<DrawnText> texts = textsOf(window);
        ASSERT_GT(texts.size(), 8);
        const QImage picture = window.grab().toImage();
        for (const DrawnText& text : texts) {
            SCOPED_TRACE("'" + text.text.toStdString() + "'");
            EXPECT_GE(text.pixelSize, leastSize());
            EXPECT_FALSE(text.text.contains(QChar(0x2026))) << "it is shortened";
            EXPECT_TRUE(text.visible.adjusted(-1, -1, 1, 1).contains(text.ink))
                << "ink " << describe(text.ink) << ", visible " << describe(text.visible);
            EXPECT_GE(contrastRatio(text.colour, behind(picture, text.ink)), leastContrast);
        }
        checkApart(texts);
    }

    static void checkApart(const QVector<DrawnText>& texts) {
        for (int one = 0; one < texts.size(); ++one)
            for (int other = 0; other < one; ++other) {
                const QRectF common = texts[one].ink & texts[other].ink;
                EXPECT_FALSE(common.width() > 1 && common.height() > 1)
                    << "'" << qPrintable(texts[one].text) << "' overlaps '" << qPrintable(texts[other].text)
                    << "'";
            }
    }

    static std::string describe(const QRectF& area) {
        return std::to_string(area.left()) + "," + std::to_string(area.top()) + " to " +
               std::to_string(area.right()) + "," + std::to_string(area.bottom());
    }

    // The most frequent colour around the ink.
    static QColor behind(const QImage& picture, const QRectF& ink) {
        const QRect area = ink.adjusted(-3, -2, 3, 2).toAlignedRect() & picture.rect();
        std::map<QRgb, int> counts;
        for (int y = area.top(); y <= area.bottom(); ++y)
            for (int x = area.left(); x <= area.right(); ++x)
                ++counts[picture.pixel(x, y)];
        const auto most = std::max_element(counts.begin(), counts.end(), [](const auto& one, const auto& other) {
            return one.second < other.second;
        });
        return QColor(most->first);
    }

    // The size in which a text is drawn; 0 when it is not.
    double sizeOf(const QString& words) {
        double size = 0;
        for (const DrawnText& text : textsOf(window))
            if (text.text == words)
                size = std::max(size, text.pixelSize);
        return size;
    }

    unsigned int tick = 1000000;
    KX::KXInputEventManager* manager;
    EventModel model;
    InputSettings settings;
    ActionDesk desk;
    MainWindow window;
};

} // namespace

TEST_P(ReadabilityTest, EachPageCanBeReadBeforeTheFirstEvent) {
    for (const Page page : window.pages().bar().pages()) {
        SCOPED_TRACE("page " + std::to_string(static_cast<int>(page)));
        show(page);
        checkTexts();
    }
}

TEST_P(ReadabilityTest, EachPageCanBeReadAtWork) {
    work();
    for (const Page page : window.pages().bar().pages()) {
        SCOPED_TRACE("page " + std::to_string(static_cast<int>(page)));
        show(page);
        checkTexts();
    }
    window.pages().events().detailsButton().click();
    show(Page::Events);
    checkTexts();
}

TEST_P(ReadabilityTest, ChangedSettingsCanBeRead) {
    settings.set(KX::KXInputSetting::DoubleKeyPressDuration, 0);
    settings.set(KX::KXInputSetting::LongKeyPressDuration, 12345);
    settings.set(KX::KXInputSetting::EncoderUserFactor, 123456);
    settings.set(KX::KXInputSetting::EncoderLowPassFactor, 555);
    show(Page::Settings);
    checkTexts();
}

TEST_P(ReadabilityTest, TheUnlockedTimeLineCanBeRead) {
    work();
    window.pages().timeLine().setLocked(false);
    show(Page::TimeLine);
    checkTexts();
    window.pages().timeLine().controls().legendButton().click();
    show(Page::TimeLine);
    for (const DrawnText& text : textsOf(window)) {
        EXPECT_GE(text.pixelSize, leastSize()) << qPrintable(text.text);
        EXPECT_TRUE(text.visible.adjusted(-1, -1, 1, 1).contains(text.ink)) << qPrintable(text.text);
    }
}

TEST_P(ReadabilityTest, WhatCountsIsLarge) {
    if (GetParam().width() < 800)
        GTEST_SKIP() << "A smaller screen has smaller pixels.";
    constexpr double least = 22;
    work();
    show(Page::Events);
    EXPECT_GE(sizeOf(window.operatorScreen().gesture().words()), least);
    EXPECT_GE(sizeOf(QStringLiteral("123456")), least) << "of the encoder";
    EXPECT_GE(sizeOf(QStringLiteral("Stop")), 20) << "as large as its key allows";
    show(Page::Encoder);
    EXPECT_GE(sizeOf(window.encoder().turnText()), least);
    EXPECT_GE(sizeOf(window.encoder().eventText()), least);
    EXPECT_GE(sizeOf(window.encoder().stepText()), least);
    show(Page::Actions);
    EXPECT_GE(sizeOf(window.actions().numberText(ActionPanel::Posted)), least);
    if (window.pages().bar().pages().contains(Page::Keypad)) {
        show(Page::Keypad);
        EXPECT_GE(sizeOf(QStringLiteral("Return")), least) << "the longest name of a key";
    }
    show(Page::Settings);
    for (const QString& value : {QStringLiteral("300\u00a0ms"), QStringLiteral("2000\u00a0ms"),
                                 QStringLiteral("\u00d7\u00a01.00"), QStringLiteral("90\u00a0%")})
        EXPECT_GE(sizeOf(value), least) << qPrintable(value);
}

TEST_P(ReadabilityTest, WhileInputIsOffTheSoftKeysCanBeReadAndLookSwitchedOff) {
    show(Page::Events);
    const QImage on = window.softKeyBar().grab().toImage();
    settings.set(KX::KXInputSetting::AcceptInput, 0);
    show(Page::Events);
    const QImage off = window.softKeyBar().grab().toImage();
    const QPoint face = window.softKeyBar().keys().first()->rect().center() + QPoint(0, -12);
    EXPECT_NE(on.pixelColor(face), off.pixelColor(face)) << "the face";
    const QImage picture = window.grab().toImage();
    const QRect banner(window.inputOffBanner().mapTo(&window, QPoint()), window.inputOffBanner().size());
    for (const DrawnText& text : textsOf(window))
        if (!banner.contains(text.ink.center().toPoint()))
            EXPECT_GE(contrastRatio(text.colour, behind(picture, text.ink)), leastContrast)
                << qPrintable(text.text);
    settings.set(KX::KXInputSetting::AcceptInput, 1);
    show(Page::Events);
    EXPECT_EQ(on, window.softKeyBar().grab().toImage());
}

INSTANTIATE_TEST_SUITE_P(Screens, ReadabilityTest,
                         testing::Values(QSize(640, 480), QSize(800, 480), QSize(640, 960), QSize(1280, 480),
                                         QSize(1024, 600), QSize(999, 699), QSize(1000, 700), QSize(1024, 768),
                                         QSize(1280, 1024), QSize(1920, 1080)),
                         [](const testing::TestParamInfo<QSize>& size) {
                             return std::to_string(size.param.width()) + "x" + std::to_string(size.param.height());
                         });
