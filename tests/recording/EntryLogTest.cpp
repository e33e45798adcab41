#include "recording/recorder/EntryLog.h"
#include "tests/support/RecordingComparison.h"

#include <gtest/gtest.h>

#include <random>

namespace KX::Recording {
namespace {

Entry passAt(std::uint64_t timeMs) {
    Entry entry;
    entry.timeMs = timeMs;
    entry.input = Pass();
    return entry;
}

std::vector<Entry> all(const EntryLog::Copy& copy) {
    std::vector<Entry> entries;
    copy.forEach([&entries](const Entry& entry) { entries.push_back(entry); });
    return entries;
}

std::vector<Entry> all(const EntryLog& log) {
    return all(log.copy(log.begin(), log.end()));
}

// One of each kind, with extreme values.
std::vector<Input> inputs() {
    KXToolkitEvent toolkit;
    toolkit.eventType = TOOLKIT_WHEEL_EVENT;
    toolkit.count = 2147483647;
    toolkit.value = -2147483647 - 1;
    toolkit.inputData[3] = 4294967295;
    toolkit.toolkitFlag = toolkit.incidentFlag = true;
    KXInputEvent own;
    own.eventType = -5;
    own.eventClass = INPUT_EVENT_CLASS;
    own.timeStamp = 4294967295;
    Post post;
    post.event.eventClass = SIGNAL_CLASS;
    post.event.signalData[0] = 18446744073709551615U;
    KXCANMessage message;
    message.canId = 0x98FF0001;
    message.canLength = 3;
    message.canData[0] = 255;
    return {toolkit,
            own,
            post,
            Frame{"can0", message},
            Frame{"can1", message},
            NumberSetting{KXInputSetting::EncoderUserFactor, -7},
            SpeedTable{{{1, 2}, {4294967295, 4}}},
            KeyMapping{{{-1, 5}, {2, -3}}},
            Pass()};
}

} // namespace

TEST(EntryLog, has_its_places_in_order) {
    const EntryLog::Place first{0, 9, 700};
    const EntryLog::Place second{1, 2, 600};
    const EntryLog::Place third{1, 3, 600};
    EXPECT_TRUE(first < second) << "the chunk counts before the offset";
    EXPECT_FALSE(second < first);
    EXPECT_TRUE(second < third);
    EXPECT_FALSE(third < second);
    EXPECT_FALSE(second < second);
}

TEST(EntryLog, keeps_every_kind_of_entry) {
    EntryLog log;
    std::vector<Entry> entries;
    std::uint64_t timeMs = 4294967290;
    for (const Input& input : inputs()) {
        Entry entry;
        entry.timeMs = timeMs += 3;
        entry.input = input;
        log.append(entry);
        entries.push_back(entry);
    }
    EXPECT_EQ(entries.size(), test::firstDifference(entries, all(log)));
}

TEST(EntryLog, a_copy_does_not_see_what_comes_later) {
    EntryLog log;
    log.append(passAt(5));
    const EntryLog::Copy copy = log.copy(log.begin(), log.end());
    log.append(passAt(6));
    EXPECT_EQ(1U, all(copy).size());
}

TEST(EntryLog, can_be_read_from_any_place_on) {
    EntryLog log;
    std::vector<EntryLog::Place> places;
    constexpr int count = 20000; // several chunks
    for (int i = 0; i < count; ++i) {
        places.push_back(log.end());
        log.append(passAt(static_cast<std::uint64_t>(i) * 200));
    }
    for (const int i : {0, 1, 7777, count - 1}) {
        const auto index = static_cast<std::size_t>(i);
        const std::vector<Entry> rest = all(log.copy(places[index], log.end()));
        ASSERT_EQ(count - index, rest.size());
        EXPECT_EQ(index * 200, rest.front().timeMs);
        EXPECT_EQ(index, all(log.copy(log.begin(), places[index])).size());
    }
}

TEST(EntryLog, goes_on_with_its_times_from_chunk_to_chunk) {
    EntryLog log;
    EntryLog::Place within;
    constexpr std::uint64_t count = 20000;
    constexpr std::uint64_t third = count / 3;
    for (std::uint64_t i = 0; i < count; ++i) {
        if (i == third)
            within = log.end();
        log.append(passAt(1000 + i * 200));
    }
    ASSERT_GE(log.end().chunk, 2U);
    for (const bool isWhole : {true, false}) {
        std::uint64_t expected = isWhole ? 0 : third;
        for (const Entry& entry : all(log.copy(isWhole ? log.begin() : within, log.end())))
            ASSERT_EQ(1000 + expected++ * 200, entry.timeMs) << isWhole;
        EXPECT_EQ(count, expected);
    }
}

TEST(EntryLog, drops_whole_chunks_before_a_place_and_shows_what_it_drops) {
    EntryLog log;
    std::vector<EntryLog::Place> places;
    for (std::uint64_t i = 0; i < 30000; ++i) {
        places.push_back(log.end());
        log.append(passAt(i));
    }
    std::uint64_t dropped = 0;
    const std::size_t before = log.bytes();
    log.dropBefore(places[25000], [&dropped](const Entry& entry) { EXPECT_EQ(dropped++, entry.timeMs); });
    EXPECT_GT(dropped, 0U);
    EXPECT_LE(dropped, 25000U);
    EXPECT_LT(log.bytes(), before);
    const std::vector<Entry> rest = all(log);
    EXPECT_EQ(dropped, rest.front().timeMs);
    EXPECT_EQ(30000 - dropped, rest.size());
}

Entry tableAt(std::uint64_t timeMs) {
    Entry entry;
    entry.timeMs = timeMs;
    entry.input = SpeedTable{{{1, 2}}};
    return entry;
}

TEST(EntryLog, tells_the_memory_of_its_chunks_and_of_inputs_that_are_not_packed) {
    EntryLog log;
    EXPECT_EQ(log.bytes(), 0U);
    log.append(passAt(1));
    const std::size_t chunk = log.bytes();
    EXPECT_GE(chunk, EntryLog::chunkBytes);
    log.append(tableAt(2));
    const std::size_t table = log.bytes() - chunk;
    EXPECT_GT(log.bytes(), chunk);
    EXPECT_LT(table, chunk);
    for (std::uint64_t timeMs = 3; timeMs <= 65; ++timeMs)
        log.append(tableAt(timeMs));
    EXPECT_EQ(log.bytes(), chunk + 64 * table);
    log.append(tableAt(66));
    EXPECT_EQ(log.bytes(), 2 * chunk + 65 * table) << "64 of them fill a chunk";
    std::size_t dropped = 0;
    log.dropBefore(log.end(), [&](const Entry& /*entry*/) { ++dropped; });
    EXPECT_EQ(dropped, 65U);
    EXPECT_EQ(log.bytes(), chunk + table);
    EXPECT_EQ(log.begin().timeMs, 65U) << "of the entry before";
}

TEST(EntryLog, begins_anew_when_it_is_cleared) {
    EntryLog log;
    const auto expectNew = [&log] {
        for (const EntryLog::Place& place : {log.begin(), log.end()}) {
            EXPECT_EQ(0U, place.chunk);
            EXPECT_EQ(0U, place.offset);
            EXPECT_EQ(0U, place.timeMs);
        }
        EXPECT_EQ(0U, log.bytes());
        EXPECT_TRUE(all(log).empty());
    };
    expectNew();
    log.append(passAt(7));
    const std::size_t chunk = log.bytes();
    for (std::uint64_t timeMs = 8; timeMs < 100; ++timeMs)
        log.append(tableAt(timeMs));
    log.dropBefore(log.end(), [](const Entry& /*entry*/) {});
    ASSERT_EQ(1U, log.begin().chunk);
    log.clear();
    expectNew();
    log.append(passAt(5));
    EXPECT_EQ(chunk, log.bytes());
    EXPECT_EQ(5U, log.begin().timeMs);
    ASSERT_EQ(1U, all(log).size());
    EXPECT_EQ(5U, all(log).front().timeMs);
}

// How many bytes an input takes so many milliseconds after another one.
std::size_t bytesOf(const Input& input, unsigned int sinceLastMs) {
    EntryLog log;
    log.append(passAt(1000000000));
    const std::size_t before = log.end().offset;
    Entry entry;
    entry.timeMs = 1000000000 + sinceLastMs;
    entry.input = input;
    if (auto* const event = std::get_if<KXToolkitEvent>(&entry.input))
        event->timeStamp = entry.tick();
    log.append(entry);
    return log.end().offset - before;
}

TEST(EntryLog, takes_2_bytes_for_a_pass_and_at_most_10_for_a_key_press) {
    EXPECT_EQ(2U, bytesOf(Pass(), 100));
    EXPECT_EQ(2U, bytesOf(Pass(), 2047)) << "and up to two seconds after the entry before";
    KXToolkitEvent press;
    press.eventType = TOOLKIT_KEY_PRESS_EVENT;
    press.osKeyCode = 0x1000013;
    EXPECT_LE(bytesOf(press, 2047), 10U);
}

TEST(EntryLog, an_idle_hour_takes_less_than_96_kilobytes) {
    EntryLog log;
    for (std::uint64_t i = 0; i < 36000; ++i)
        log.append(passAt(i * 100));
    EXPECT_LE(log.bytes(), 96U * 1024);
}

} // namespace KX::Recording
