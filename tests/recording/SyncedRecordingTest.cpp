// A power cut takes the last two seconds of a recording at most. The input never waits for the disk.

#include "tests/recording/RecorderFixture.h"

#include <array>
#include <cerrno>
#include <cstdarg>
#include <dlfcn.h>
#include <linux/aio_abi.h>
#include <optional>
#include <sys/stat.h>
#include <sys/syscall.h>

namespace {

// Stands in for the kernel's syncs in the background.
struct Kernel {
    int setupError = 0;  // 0: lets the process have syncs
    int submitError = 0; // 0: takes requests
    bool isSlow = false; // no sync ends
    long result = 0;     // of each sync

    int setups = 0;
    int ends = 0; // the process gives its syncs back
    int requests = 0;
    ino_t file = 0; // of the last request
    bool isUnderWay = false;
    std::vector<unsigned int> ticks; // of the requests

    long setUp(long most, aio_context_t& context) {
        EXPECT_EQ(1, most) << "others need some, too";
        ++setups;
        errno = setupError;
        if (setupError != 0)
            return -1;
        context = 1;
        return 0;
    }

    long submit(long count, const iocb& request) {
        EXPECT_EQ(1, count);
        EXPECT_EQ(IOCB_CMD_FDSYNC, request.aio_lio_opcode);
        struct stat state {};
        fstat(static_cast<int>(request.aio_fildes), &state);
        file = state.st_ino;
        EXPECT_FALSE(isUnderWay);
        ++requests;
        ticks.push_back(KX::KXTick::getTickCount());
        errno = submitError;
        isUnderWay = submitError == 0;
        return isUnderWay ? 1 : -1;
    }

    long take(long least, long most, io_event& event) {
        EXPECT_EQ(0, least) << "it would wait";
        EXPECT_EQ(1, most) << "there is no room for more";
        if (!isUnderWay || isSlow)
            return 0;
        isUnderWay = false;
        event.res = result;
        return 1;
    }

    long end() {
        EXPECT_FALSE(isUnderWay) << "it would wait";
        ++ends;
        return 0;
    }
};

Kernel* kernel = nullptr; // null: the system's

using Words = std::array<long, 6>;

long callSystem(long number, const Words& words) {
    static const auto system = reinterpret_cast<long (*)(long, ...)>(dlsym(RTLD_NEXT, "syscall"));
    return system(number, words[0], words[1], words[2], words[3], words[4], words[5]);
}

} // namespace

// It takes as many words as any call has. Where the caller has passed fewer, AddressSanitizer would see that.
extern "C" [[gnu::no_sanitize_address]] long syscall(long number, ...) noexcept {
    va_list arguments;
    va_start(arguments, number);
    Words words;
    for (long& word : words)
        word = va_arg(arguments, long);
    va_end(arguments);
    if (!kernel)
        return callSystem(number, words);
    switch (number) {
    case SYS_io_setup: return kernel->setUp(words[0], *reinterpret_cast<aio_context_t*>(words[1]));
    case SYS_io_submit: return kernel->submit(words[1], **reinterpret_cast<iocb**>(words[2]));
    case SYS_io_getevents: return kernel->take(words[1], words[2], *reinterpret_cast<io_event*>(words[3]));
    case SYS_io_destroy: return kernel->end();
    default: return callSystem(number, words);
    }
}

namespace KX {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class SyncedRecordingTest : public test::RecorderFixture {
protected:
    SyncedRecordingTest() {
        kernel = &syncs;
        KXInputEventManager::createInstance();
        EXPECT_TRUE(recorder.start(path)) << recorder.problem();
    }

    ~SyncedRecordingTest() override {
        recorder.stop();
        kernel = nullptr;
    }

    // Input and passes of the worker, so that each millisecond has something to lose.
    void operatorWorks(unsigned int ms) {
        for (unsigned int i = 0; i < ms; ++i) {
            KXSimulation::advance(1);
            press();
            release();
        }
    }

    Kernel syncs;
    KXSessionRecorder recorder;
};

} // namespace

TEST_F(SyncedRecordingTest, the_disk_is_asked_each_second) {
    operatorWorks(999 + 10000);
    unsigned int last = 0;
    for (const unsigned int tick : syncs.ticks) {
        EXPECT_LE(tick - last, 1000U) << tick;
        last = tick;
    }
    EXPECT_THAT(syncs.ticks, SizeIs(10));
}

TEST_F(SyncedRecordingTest, the_disk_is_asked_for_the_file_of_the_recording) {
    operatorWorks(1000);
    struct stat state {};
    ASSERT_EQ(0, stat(path.c_str(), &state));
    EXPECT_EQ(state.st_ino, syncs.file);
}

TEST_F(SyncedRecordingTest, the_system_is_asked_once_for_all_syncs_of_a_recording_which_gives_them_back) {
    operatorWorks(3500);
    EXPECT_EQ(3, syncs.requests);
    EXPECT_EQ(1, syncs.setups);
    EXPECT_EQ(0, syncs.ends);
    EXPECT_TRUE(recorder.stop());
    EXPECT_EQ(1, syncs.ends);
}

TEST_F(SyncedRecordingTest, a_recording_that_ends_before_the_first_sync_asks_for_none) {
    operatorWorks(500);
    EXPECT_TRUE(recorder.stop());
    EXPECT_EQ(0, syncs.setups);
    EXPECT_EQ(0, syncs.ends);
}

TEST_F(SyncedRecordingTest, a_recording_that_ends_during_a_sync_does_not_wait_for_it) {
    syncs.isSlow = true;
    operatorWorks(1500);
    EXPECT_EQ(1, syncs.requests);
    EXPECT_TRUE(recorder.stop());
    EXPECT_EQ(0, syncs.ends);
}

TEST_F(SyncedRecordingTest, a_system_that_is_short_of_syncs_is_asked_again) {
    syncs.setupError = EAGAIN; // other programs have all of them
    operatorWorks(3000);
    EXPECT_EQ(0, syncs.requests);
    syncs.setupError = 0;
    operatorWorks(3000);
    EXPECT_EQ(3, syncs.requests);
}

TEST_F(SyncedRecordingTest, a_system_without_syncs_is_asked_once) {
    syncs.setupError = ENOSYS;
    operatorWorks(5000);
    EXPECT_EQ(1, syncs.setups);
    EXPECT_TRUE(recorder.isRecording());
}

TEST_F(SyncedRecordingTest, the_passes_of_an_idle_terminal_are_enough) {
    KXSimulation::advance(10000);
    unsigned int last = 0;
    for (const unsigned int tick : syncs.ticks) {
        EXPECT_LE(tick - last, 1100U) << tick;
        last = tick;
    }
    EXPECT_LE(10000 - last, 1100U);
}

TEST_F(SyncedRecordingTest, a_slow_disk_is_asked_again_as_soon_as_it_is_done) {
    operatorWorks(1000);
    syncs.isSlow = true;
    operatorWorks(5000);
    EXPECT_THAT(syncs.ticks, SizeIs(1));
    EXPECT_TRUE(recorder.isRecording());
    syncs.isSlow = false;
    operatorWorks(1000);
    EXPECT_THAT(syncs.ticks, SizeIs(2));
}

TEST_F(SyncedRecordingTest, a_disk_that_fails_ends_the_recording_with_one_line) {
    syncs.result = -EIO;
    operatorWorks(1000);
    EXPECT_TRUE(recorder.isRecording());
    testing::internal::CaptureStderr();
    operatorWorks(3000);
    EXPECT_EQ("KXSessionRecorder: " + path + ": Input/output error; the recording ends here\n",
              testing::internal::GetCapturedStderr());
    EXPECT_FALSE(recorder.isRecording());
    EXPECT_TRUE(KXInputEventManager::getInstance()->hasEvents()) << "the operator goes on";
}

TEST_F(SyncedRecordingTest, a_system_that_cannot_sync_is_asked_once_and_the_recording_goes_on) {
    syncs.submitError = EINVAL;
    operatorWorks(5000);
    EXPECT_EQ(1, syncs.requests);
    EXPECT_TRUE(recorder.isRecording());
}

TEST_F(SyncedRecordingTest, a_system_that_is_short_of_memory_is_asked_again) {
    syncs.submitError = EAGAIN;
    operatorWorks(5000);
    EXPECT_EQ(5, syncs.requests);
    EXPECT_TRUE(recorder.isRecording());
}

} // namespace KX
