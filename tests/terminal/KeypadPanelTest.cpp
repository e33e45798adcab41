#include "terminal/keypad/KeypadPanel.h"

#include "events/KXEventType.h"
#include "input/KXInputEventManager.h"
#include "platform/simulated/KXSimulation.h"
#include "recording/KXKeyLayout.h"
#include "terminal/keypad/KeypadControls.h"
#include "terminal/look/KeyCodes.h"
#include "toolkit/KXToolkitLayer.h"

#include <QVBoxLayout>
#include <QWheelEvent>
#include <QWindow>
#include <QtTest>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iterator>
#include <ostream>
#include <vector>

using namespace Terminal;

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr std::uint32_t extended = 0x80000000U;

struct Frame {
    std::uint32_t identifier;
    std::vector<int> data;

    bool operator==(const Frame& other) const { return identifier == other.identifier && data == other.data; }
};

void PrintTo(const Frame& frame, std::ostream* stream) {
    *stream << std::hex << frame.identifier << std::dec << '#' << testing::PrintToString(frame.data);
}

Frame frameOf(const KX::KXCANMessage& message) {
    EXPECT_EQ(8U, message.canLength);
    return {message.canId, std::vector<int>(std::begin(message.canData), std::end(message.canData))};
}

KX::CANRemoteOptions sharedFrame() {
    KX::CANRemoteOptions layout = KX::KeyLayout::empty();
    layout.keys[0] = {1, 0, 3, 7, 0x100, 0};
    layout.encoderCANId = 0x100;
    layout.encoderByteIndex = 3;
    layout.encoderLittleEndian = false;
    layout.encoderMask = 0x07F0;
    return layout;
}

// A window with the keypad in its lower half and a toolkit layer.
class KeypadPanelTest : public testing::Test {
protected:
    KeypadPanelTest() : layer(window) {
        layer.setReport([this](KX::KXToolkitEvent& event) { report(event); });
        KX::KXSimulation::reset();
        KX::KXInputEventManager::createInstance()->setKeyMapping(KeyCodes::functionKeys());
        auto* column = new QVBoxLayout(&window);
        column->addSpacing(100);
        column->addWidget(panel = new KeypadPanel);
        panel->setLayoutOfKeys(KX::KeyLayout::builtIn());
        QObject::connect(panel, &KeypadPanel::frameChanged,
                         [this](const KX::KXCANMessage& frame) { frames.push_back(frameOf(frame)); });
        window.show();
        QCoreApplication::processEvents();
        reported.clear();
    }

    ~KeypadPanelTest() override { KX::KXInputEventManager::deleteInstance(); }

    void report(const KX::KXToolkitEvent& event) {
        if (event.eventType != KX::TOOLKIT_MOUSE_ENTER_EVENT && event.eventType != KX::TOOLKIT_MOUSE_EXIT_EVENT)
            reported.push_back(event.eventType);
    }

    QPoint middleOf(const QWidget& widget) const { return widget.mapTo(&window, widget.rect().center()); }

    void press(const QPoint& position) {
        QTest::mousePress(window.windowHandle(), Qt::LeftButton, Qt::NoModifier, position);
    }

    void release(const QPoint& position) {
        QTest::mouseRelease(window.windowHandle(), Qt::LeftButton, Qt::NoModifier, position);
    }

    void drag(const QPoint& position) {
        QMouseEvent move(QEvent::MouseMove, position, window.mapToGlobal(position), Qt::NoButton, Qt::LeftButton,
                         Qt::NoModifier);
        QCoreApplication::sendEvent(window.windowHandle(), &move);
    }

    void turnWheel(int detents, const QPoint& position) {
        QWheelEvent turn(position, window.mapToGlobal(position), QPoint(), QPoint(0, detents * 120), Qt::NoButton,
                         Qt::NoModifier, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(window.windowHandle(), &turn);
    }

    // The knob positions in the frames that were sent.
    std::vector<int> positions() const {
        std::vector<int> values;
        for (const Frame& frame : frames) {
            EXPECT_EQ(extended | 0x18FF0003U, frame.identifier);
            values.push_back(frame.data[2] | frame.data[3] << 8);
        }
        return values;
    }

    QWidget window;
    KeypadPanel* panel = nullptr;
    std::vector<Frame> frames;
    std::vector<int> reported;
    KX::KXToolkitLayer layer;
};

} // namespace

TEST(KeypadFramesTest, AFrameTellsOfAllKeysThatShareIt) {
    KeypadFrames frames(KX::KeyLayout::builtIn());
    EXPECT_EQ((Frame{extended | 0x18FF0001U, {1, 0, 0, 0, 0, 0, 0, 0}}), frameOf(frames.setKey(0, true)));
    EXPECT_EQ((Frame{extended | 0x18FF0001U, {0x81, 0, 0, 0, 0, 0, 0, 0}}), frameOf(frames.setKey(1, true)));
    EXPECT_EQ((Frame{extended | 0x18FF0002U, {0, 0, 0, 0, 0, 0, 0, 8}}), frameOf(frames.setKey(15, true)));
    EXPECT_EQ((Frame{extended | 0x18FF0001U, {0x80, 0, 0, 0, 0, 0, 0, 0}}), frameOf(frames.setKey(0, false)));
    EXPECT_FALSE(frames.isPressed(0));
    EXPECT_TRUE(frames.isPressed(1));
}

TEST(KeypadFramesTest, TheCounterHas16BitsAndWraps) {
    KeypadFrames frames(KX::KeyLayout::builtIn());
    const auto position = [](const KX::KXCANMessage& frame) { return frame.canData[2] | frame.canData[3] << 8; };
    EXPECT_EQ(0xFFFF, position(frames.turn(false)));
    EXPECT_EQ(0, position(frames.turn(true)));
    for (int step = 1; step <= 0xFFFF; ++step)
        ASSERT_EQ(step, position(frames.turn(true)));
    EXPECT_EQ(0, position(frames.turn(true)));
}

TEST(KeypadFramesTest, APositionStaysWithinItsMaskAndLeavesTheKeysBesideItAlone) {
    KeypadFrames frames(sharedFrame());
    EXPECT_EQ((Frame{extended | 0x100U, {0, 0, 0, 0x80, 0, 0, 0, 0}}), frameOf(frames.setKey(0, true)));
    EXPECT_EQ((Frame{extended | 0x100U, {0, 0, 7, 0xF0, 0, 0, 0, 0}}), frameOf(frames.turn(false)));
    EXPECT_EQ((Frame{extended | 0x100U, {0, 0, 0, 0x80, 0, 0, 0, 0}}), frameOf(frames.turn(true)));
    EXPECT_EQ((Frame{extended | 0x100U, {0, 0, 0, 0x90, 0, 0, 0, 0}}), frameOf(frames.turn(true)));
}

TEST_F(KeypadPanelTest, AKeySendsAFrameWhenItIsPressedAndOneWhenItIsReleased) {
    const QPoint key = middleOf(*panel->key(2));
    press(key);
    release(key);
    EXPECT_THAT(frames, ElementsAre(Frame{extended | 0x18FF0001U, {0x80, 0, 0, 0, 0, 0, 0, 0}},
                                    Frame{extended | 0x18FF0001U, {0, 0, 0, 0, 0, 0, 0, 0}}));
}

TEST_F(KeypadPanelTest, TheMouseOnTheKeypadIsNoInputOfTheScreen) {
    const QPoint key = middleOf(*panel->key(1));
    press(key);
    drag(key + QPoint(25, 0));
    drag(QPoint(20, 20)); // leaves the keypad with the button down
    release(QPoint(20, 20));
    EXPECT_THAT(reported, IsEmpty());
    press(QPoint(20, 20));
    release(QPoint(20, 20));
    EXPECT_THAT(reported, ElementsAre(KX::TOOLKIT_MOUSE_PRESS_EVENT, KX::TOOLKIT_MOUSE_RELEASE_EVENT));
}

TEST_F(KeypadPanelTest, APressOfTheScreenThatEndsOnTheKeypadIsReportedToItsEnd) {
    press(QPoint(20, 20));
    release(middleOf(*panel->key(1)));
    EXPECT_THAT(reported, ElementsAre(KX::TOOLKIT_MOUSE_PRESS_EVENT, KX::TOOLKIT_MOUSE_MOVE_EVENT,
                                      KX::TOOLKIT_MOUSE_RELEASE_EVENT));
    EXPECT_THAT(frames, IsEmpty());
}

TEST_F(KeypadPanelTest, TheWheelTurnsTheKnobWhenItIsOverItAndTheEncoderOfTheScreenElsewhere) {
    turnWheel(2, middleOf(panel->knob()));
    EXPECT_THAT(positions(), ElementsAre(1, 2));
    EXPECT_THAT(reported, IsEmpty());
    turnWheel(1, middleOf(*panel->key(1)));
    EXPECT_EQ(2U, frames.size());
    EXPECT_THAT(reported, ElementsAre(KX::TOOLKIT_WHEEL_EVENT));
}

TEST_F(KeypadPanelTest, AClickOnAHalfOfTheKnobIsADetent) {
    const QPoint middle = middleOf(panel->knob());
    for (const int aside : {30, -30, -30}) {
        press(middle + QPoint(aside, 0));
        release(middle + QPoint(aside, 0));
    }
    EXPECT_THAT(positions(), ElementsAre(1, 0, 0xFFFF));
}

TEST_F(KeypadPanelTest, ADragRoundTheKnobIsADetentForEachOf24PartsOfATurn) {
    const QPoint middle = middleOf(panel->knob());
    press(middle + QPoint(0, -40));
    drag(middle + QPoint(40, 0));
    drag(middle + QPoint(0, 40));
    EXPECT_EQ(12U, frames.size());
    drag(middle + QPoint(40, 0));
    release(middle + QPoint(40, 0));
    ASSERT_EQ(18U, frames.size());
    EXPECT_EQ(12, positions()[11]);
    EXPECT_EQ(6, positions().back());
}

TEST_F(KeypadPanelTest, AKeyThatIsHeldWhenTheKeypadDisappearsIsReleased) {
    press(middleOf(*panel->key(1)));
    panel->hide();
    ASSERT_EQ(2U, frames.size());
    EXPECT_EQ(0, frames[1].data[0]);
    EXPECT_FALSE(panel->key(1)->isDown());
}

TEST_F(KeypadPanelTest, NothingOnTheKeypadTakesTheKeyboardFocus) {
    EXPECT_EQ(Qt::NoFocus, panel->focusPolicy());
    EXPECT_EQ(Qt::NoFocus, panel->knob().focusPolicy());
    for (int number = 1; number <= 16; ++number) {
        ASSERT_NE(nullptr, panel->key(number)) << number;
        EXPECT_EQ(Qt::NoFocus, panel->key(number)->focusPolicy()) << number;
    }
    EXPECT_EQ("Esc", panel->key(1)->text().toStdString());
    EXPECT_EQ("F8", panel->key(16)->text().toStdString());
}

TEST_F(KeypadPanelTest, TellsWithinTwoSecondsThatItsBusWasDeletedAndThatItIsBack) {
    BusStatus bus{QStringLiteral("unix:/tmp/bus"), QStringLiteral("up"), true};
    panel->watchBus([&bus] { return bus; });
    EXPECT_EQ(QStringLiteral("unix:/tmp/bus: up"), panel->busText());
    const QImage works = panel->grab().toImage();
    bus.state = QStringLiteral("deleted");
    bus.works = false;
    EXPECT_TRUE(QTest::qWaitFor([this] { return panel->busText().endsWith(QStringLiteral("deleted")); }));
    EXPECT_NE(works, panel->grab().toImage());
    EXPECT_LE(4 * KeypadPanel::lookIntervalMs, 2000);
    panel->showFault(QStringLiteral("the receiver is gone"));
    bus.state = QStringLiteral("up again");
    bus.works = true;
    EXPECT_TRUE(QTest::qWaitFor([this] { return panel->busText().endsWith(QStringLiteral("up again")); }));
    EXPECT_EQ(QString(), panel->fault()) << "it was about the bus that was deleted";
}

TEST_F(KeypadPanelTest, ALayoutWithoutAnEncoderHasNoKnob) {
    KeypadPanel bare;
    KX::CANRemoteOptions layout = KX::KeyLayout::empty();
    layout.keys[4] = {5, 0, 0, 0, 1, 0};
    bare.setLayoutOfKeys(layout);
    EXPECT_TRUE(bare.knob().isHidden());
    EXPECT_EQ(nullptr, bare.key(1));
    EXPECT_NE(nullptr, bare.key(5));
}
