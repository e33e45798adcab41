#include "terminal/session/RecordingState.h"

#include <gtest/gtest.h>

using namespace Terminal;

namespace {

RecordingState stateOf(bool writesFile, int keptMinutes, bool isRecording = true, const QString& problem = {}) {
    return RecordingState(
        {writesFile, keptMinutes, [isRecording] { return isRecording; }, [problem] { return problem; }});
}

constexpr qint64 second = 1000;

TEST(RecordingStateTest, tells_how_long_it_records) {
    EXPECT_EQ(QStringLiteral("\u25CF REC 0:00"), stateOf(true, 0).text(999));
    EXPECT_EQ(QStringLiteral("\u25CF REC 1:03"), stateOf(true, 0).text(63 * second));
    EXPECT_EQ(QStringLiteral("\u25CF REC 59:59"), stateOf(true, 0).text(3599 * second));
    EXPECT_EQ(QStringLiteral("\u25CF REC 1:00:00"), stateOf(true, 0).text(3600 * second));
    EXPECT_EQ(QStringLiteral("\u25CF REC 25:01:02"), stateOf(true, 0).text((25 * 3600 + 62) * second));
}

TEST(RecordingStateTest, tells_the_minutes_that_are_kept) {
    EXPECT_EQ("keeps 10 min, Ctrl+S saves", stateOf(false, 10).text(0));
    EXPECT_EQ(QStringLiteral("\u25CF REC 0:01   keeps 10 min, Ctrl+S saves"), stateOf(true, 10).text(second));
    EXPECT_FALSE(stateOf(false, 10, false).hasFailed()) << "nothing is written that could fail";
}

TEST(RecordingStateTest, tells_that_the_disk_is_full) {
    const RecordingState state = stateOf(true, 10, false, "/data/a.kxr: No space left on device");
    EXPECT_TRUE(state.hasFailed());
    EXPECT_EQ("NOT RECORDING: No space left on device   keeps 10 min, Ctrl+S saves", state.text(second));
    EXPECT_FALSE(stateOf(true, 0).hasFailed());
}

TEST(RecordingStateTest, tells_what_became_of_the_last_save) {
    RecordingState state = stateOf(true, 10);
    state.noteSave({QStringLiteral("/data/kxterminal-2026-11-22-064511.kxr"), {}});
    EXPECT_EQ(QStringLiteral("\u25CF REC 0:01   saved kxterminal-2026-11-22-064511.kxr"), state.text(second));
    EXPECT_FALSE(state.hasFailed());
    state.noteSave({{}, QStringLiteral("/data/a.kxr: No space left on device")});
    EXPECT_EQ(QStringLiteral("\u25CF REC 0:01   NOT SAVED: No space left on device"), state.text(second));
    EXPECT_TRUE(state.hasFailed());
    state.noteSave({QStringLiteral("/data/b.kxr"), {}});
    EXPECT_FALSE(state.hasFailed()) << "it is in order again";
}

TEST(RecordingStateTest, has_room_for_one_reason) {
    RecordingState state = stateOf(true, 10, false, "/data/a.kxr: No space left on device");
    state.noteSave({{}, QStringLiteral("/data/b.kxr: No space left on device")});
    EXPECT_EQ("NOT RECORDING: No space left on device   NOT SAVED", state.text(second));
}

} // namespace
