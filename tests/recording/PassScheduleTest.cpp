// When the player of a recording without passes makes them itself.

#include "recording/KXPassSchedule.h"

#include "events/KXEventType.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <optional>
#include <vector>

namespace {

using namespace KX;
using Recording::Entry;
using Recording::Frame;
using Recording::Input;
using Recording::Keypad;
using Recording::NumberSetting;
using Recording::Session;

const std::optional<std::uint64_t> none;

Entry entryAt(std::uint64_t timeMs, Input input) {
    Entry entry;
    entry.timeMs = timeMs;
    entry.input = std::move(input);
    return entry;
}

Entry pressAt(std::uint64_t timeMs) {
    KXToolkitEvent press;
    press.eventType = TOOLKIT_KEY_PRESS_EVENT;
    return entryAt(timeMs, press);
}

Entry settingAt(std::uint64_t timeMs, KXInputSetting name = KXInputSetting::AcceptInput, std::int64_t value = 1) {
    return entryAt(timeMs, NumberSetting{name, value});
}

Entry frameAt(std::uint64_t timeMs) {
    return entryAt(timeMs, Frame{"can0", {}});
}

Session sessionOf(std::initializer_list<Entry> entries) {
    Session session;
    session.entries = entries;
    return session;
}

TEST(PassScheduleTest, HasNoPassWithoutEntries) {
    KXPassSchedule schedule((Session()));
    EXPECT_EQ(none, schedule.nextMs());
    EXPECT_EQ(none, schedule.takeNext(1000000));
    EXPECT_EQ(0U, schedule.endMs());
}

TEST(PassScheduleTest, HasNoPassWhereTheRecordingHasThem) {
    Session session = sessionOf({pressAt(1000)});
    session.hasPasses = true;
    session.isPlainLog = true;
    KXPassSchedule schedule(session);
    EXPECT_EQ(none, schedule.nextMs());
    EXPECT_EQ(none, schedule.takeNext(1000000));
    EXPECT_EQ(1000U, schedule.endMs()) << "known before the first entry is played";
    EXPECT_FALSE(schedule.played(frameAt(1000)));
    EXPECT_EQ(1000U, schedule.endMs()) << "the last entry";
}

TEST(PassScheduleTest, HasOneEvery100MsFromTheFirstEntryOn) {
    KXPassSchedule schedule(sessionOf({settingAt(1000), pressAt(1010)}));
    EXPECT_EQ(1100U, schedule.nextMs());
    EXPECT_EQ(none, schedule.takeNext(1099));
    EXPECT_EQ(1100U, schedule.takeNext(1100));
    EXPECT_EQ(none, schedule.takeNext(1199));
    EXPECT_EQ(1200U, schedule.takeNext(1250));
    EXPECT_EQ(none, schedule.takeNext(1250));
    EXPECT_EQ(1300U, schedule.nextMs());
}

TEST(PassScheduleTest, Ends200MsBehindTheLastInputOrWithTheLastEntry) {
    for (const std::uint64_t lastMs : {1000U, 1199U, 1200U, 1201U})
        EXPECT_EQ(lastMs > 1200 ? lastMs : 1200,
                  KXPassSchedule(sessionOf({pressAt(1000), settingAt(lastMs)})).endMs());
    EXPECT_EQ(1250U, KXPassSchedule(sessionOf({pressAt(1000), frameAt(1050), settingAt(1060)})).endMs());
    EXPECT_EQ(1250U, KXPassSchedule(sessionOf({pressAt(1000), entryAt(1050, KXInputEvent())})).endMs());
    EXPECT_EQ(1200U, KXPassSchedule(sessionOf({settingAt(1000), settingAt(1100)})).endMs()) << "without input";
}

// Long enough for the longest long press of the session, and a second more.
TEST(PassScheduleTest, LeavesPassesOutWhenNothingIsPendingAnyMore) {
    const struct {
        Entry setting;
        std::uint64_t pendingMs;
    } cases[] = {{settingAt(1000), 3000},
                 {settingAt(1000, KXInputSetting::LongKeyPressDuration, 1999), 3000},
                 {settingAt(1000, KXInputSetting::LongKeyPressDuration, 5000), 6000},
                 {settingAt(1000, KXInputSetting::EncoderUserFactor, 5000), 3000}};
    for (const auto& test : cases) {
        KXPassSchedule schedule(sessionOf({test.setting, pressAt(2000)}));
        EXPECT_FALSE(schedule.played(pressAt(2000)));
        const std::uint64_t farMs = 100050;
        for (std::uint64_t passMs = 1100; passMs <= 2000 + test.pendingMs; passMs += 100)
            ASSERT_EQ(passMs, schedule.takeNext(farMs));
        EXPECT_EQ(100000U, schedule.takeNext(farMs)) << "the last one in the beat";
        EXPECT_EQ(none, schedule.takeNext(farMs));
    }
}

TEST(PassScheduleTest, GoesOnForWhatIsPendingAfterEachInput) {
    KXPassSchedule schedule(sessionOf({settingAt(1000)}));
    schedule.played(settingAt(1000));
    for (std::uint64_t passMs = 1100; passMs <= 4000; passMs += 100)
        ASSERT_EQ(passMs, schedule.takeNext(4000));
    schedule.played(pressAt(4000));
    EXPECT_EQ(4100U, schedule.takeNext(9000));
    EXPECT_EQ(4200U, schedule.takeNext(9000));
}

TEST(PassScheduleTest, HasOneAfterEachFrameOfALog) {
    Session log = sessionOf({frameAt(1000), frameAt(1050)});
    log.isPlainLog = true;
    KXPassSchedule schedule(log);
    EXPECT_TRUE(schedule.played(frameAt(1050)));
    EXPECT_EQ(1150U, schedule.nextMs()) << "the beat begins anew";
    EXPECT_FALSE(schedule.played(pressAt(1060)));
    EXPECT_EQ(1150U, schedule.nextMs());
}

TEST(PassScheduleTest, HasOneAfterAFrameOfARecordingIfThereIsAKeypad) {
    KXPassSchedule schedule(sessionOf({settingAt(1000)}));
    EXPECT_FALSE(schedule.played(frameAt(1010)));
    EXPECT_EQ(1100U, schedule.nextMs());
    EXPECT_FALSE(schedule.played(entryAt(1020, Keypad())));
    EXPECT_TRUE(schedule.played(frameAt(1030)));
    EXPECT_EQ(1130U, schedule.nextMs());
}

} // namespace
