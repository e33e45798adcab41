#include "terminal/events/EventText.h"

#include "events/KXEventType.h"
#include "input/KXInputEventManager.h"
#include "platform/simulated/KXSimulation.h"

#include <gtest/gtest.h>

using namespace Terminal;

namespace {

// The names of keys come from the library's table. The first manager fills it.
class EventTextTest : public testing::Test {
protected:
    EventTextTest() {
        KX::KXSimulation::reset();
        KX::KXInputEventManager::createInstance();
    }

    ~EventTextTest() override { KX::KXInputEventManager::deleteInstance(); }

    KX::KXInputEvent event;
};

} // namespace

TEST_F(EventTextTest, NamesTheKeysOfTheLibrary) {
    event.eventType = KX::KEY_PRESS_EVENT;
    event.keyCode = 4;
    EXPECT_EQ("4 Up", EventText::key(event).toStdString());
    event.keyCode = 7;
    EXPECT_EQ("7", EventText::key(event).toStdString());
    event.keyCode = 65535;
    EXPECT_EQ("not mapped", EventText::key(event).toStdString());
    event.keyCode = -1;
    EXPECT_EQ("\u2013", EventText::key(event).toStdString());
}

TEST_F(EventTextTest, NamesTheButtonOfMouseEvents) {
    event.eventType = KX::MOUSE_LONG_PRESS_EVENT;
    event.eventData[1] = 2;
    EXPECT_EQ("Right button", EventText::key(event).toStdString());
    event.eventData[1] = 16;
    EXPECT_EQ("Button 16", EventText::key(event).toStdString());
}

TEST_F(EventTextTest, ShowsAZeroOnlyWhereItIsAValue) {
    event.eventType = KX::KEY_PRESS_EVENT;
    EXPECT_EQ("\u2013", EventText::value(event).toStdString());
    event.value = -3;
    EXPECT_EQ("-3", EventText::value(event).toStdString());
    event.eventType = KX::ENCODER_MOVE_EVENT;
    event.value = 0;
    EXPECT_EQ("0", EventText::value(event).toStdString());
}

TEST_F(EventTextTest, ShowsADashForWhatIsNotSet) {
    EXPECT_EQ("\u2013", EventText::count(event).toStdString());
    EXPECT_EQ("\u2013", EventText::toolkitKey(event).toStdString());
    event.count = 0;
    event.osKeyCode = 0x1000013;
    EXPECT_EQ("0", EventText::count(event).toStdString());
    EXPECT_EQ("0x1000013", EventText::toolkitKey(event).toStdString());
}
