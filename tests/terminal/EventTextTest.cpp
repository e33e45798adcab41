#include "terminal/events/EventText.h"

#include "events/KXEventType.h"
#include "input/KXInputEventManager.h"
#include "platform/simulated/KXSimulation.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>
#include <unistd.h>

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

KX::KXInputEvent eventOf(int type) {
    KX::KXInputEvent event;
    event.eventType = type;
    return event;
}

struct Closer {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, Closer>;

} // namespace

TEST_F(EventTextTest, NamesTheKeysOfTheLibrary) {
    event.eventType = KX::KEY_PRESS_EVENT;
    event.keyCode = 4;
    EXPECT_EQ("Up", EventText::key(event).toStdString());
    event.keyCode = 100; // no test maps a key to it
    EXPECT_EQ("Key 100", EventText::key(event).toStdString());
    event.keyCode = 65535;
    EXPECT_EQ("not mapped", EventText::key(event).toStdString());
    event.keyCode = -1;
    EXPECT_EQ("\u2013", EventText::key(event).toStdString());
}

TEST_F(EventTextTest, ShowsTheCodeOfAKey) {
    EXPECT_EQ("\u2013", EventText::keyCode(event).toStdString());
    event.keyCode = 0;
    EXPECT_EQ("0", EventText::keyCode(event).toStdString());
    event.keyCode = 65535;
    EXPECT_EQ("65535", EventText::keyCode(event).toStdString());
}

TEST_F(EventTextTest, TheDistanceIsThatToTheEventBefore) {
    KX::KXInputEvent previous;
    previous.timeStamp = 1000;
    event.timeStamp = 1000;
    EXPECT_EQ("+0 ms", EventText::distance(event, previous).toStdString());
    event.timeStamp = 1999;
    EXPECT_EQ("+999 ms", EventText::distance(event, previous).toStdString());
    event.timeStamp = 2000;
    EXPECT_EQ("+1.00 s", EventText::distance(event, previous).toStdString());
    event.timeStamp = 61000;
    EXPECT_EQ("+1:00 min", EventText::distance(event, previous).toStdString());
    event.timeStamp = 997;
    EXPECT_EQ("\u22123 ms", EventText::distance(event, previous).toStdString());
}

TEST_F(EventTextTest, TheDistanceGoesOnAcrossTheWrapOfTheTick) {
    KX::KXInputEvent previous;
    previous.timeStamp = 0xFFFFFFF0U;
    event.timeStamp = 0x10U;
    EXPECT_EQ("+32 ms", EventText::distance(event, previous).toStdString());
}

TEST_F(EventTextTest, AnEventWithoutTickHasNoDistance) {
    KX::KXInputEvent previous;
    previous.timeStamp = 1000;
    EXPECT_EQ("\u2013", EventText::distance(event, previous).toStdString());
    EXPECT_EQ("\u2013", EventText::distance(previous, event).toStdString());
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

TEST(EventPrinterTest, EveryLineIsOutBeforeTheNextEventIsTaken) {
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    const File output(fdopen(ends[1], "w"));
    EventPrinter printer(output.get());
    printer.print(eventOf(KX::KEY_PRESS_EVENT));
    printer.print(eventOf(KX::KEY_RELEASE_EVENT));

    // Without a flush the pipe would still be empty, and reading would block: output stays open.
    char text[512];
    const ssize_t length = read(ends[0], text, sizeof text);
    ASSERT_GT(length, 0);
    EXPECT_EQ("0 KEY_PRESS_EVENT class=3 key=-1 os=-1 value=0 count=-1 data=0,0,0,0\n"
              "0 KEY_RELEASE_EVENT class=3 key=-1 os=-1 value=0 count=-1 data=0,0,0,0\n",
              std::string(text, static_cast<std::size_t>(length)));
    close(ends[0]);
}

TEST(EventPrinterTest, FallsSilentWhenNothingCanBeWritten) {
    const File full(std::fopen("/dev/full", "w"));
    ASSERT_NE(nullptr, full);
    EventPrinter printer(full.get());
    printer.print(eventOf(KX::KEY_PRESS_EVENT));
    EXPECT_NE(0, std::ferror(full.get()));
    std::clearerr(full.get());
    printer.print(eventOf(KX::KEY_RELEASE_EVENT));
    EXPECT_EQ(0, std::ferror(full.get())) << "it has tried again";
}
