#include "terminal/session/EventPrinter.h"

#include "events/KXEventType.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>
#include <unistd.h>

using namespace Terminal;

namespace {

ClassifiedEvents twoEvents() {
    ClassifiedEvents events(2);
    events[0].eventType = KX::KEY_PRESS_EVENT;
    events[1].eventType = KX::KEY_RELEASE_EVENT;
    return events;
}

struct Closer {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, Closer>;

} // namespace

TEST(EventPrinterTest, EveryLineIsOutBeforeTheNextEventIsTaken) {
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    const File output(fdopen(ends[1], "w"));
    EventPrinter(output.get()).print(twoEvents());

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
    printer.print(twoEvents());
    EXPECT_NE(0, std::ferror(full.get()));
    std::clearerr(full.get());
    printer.print(twoEvents());
    EXPECT_EQ(0, std::ferror(full.get())) << "it has tried again";
}
