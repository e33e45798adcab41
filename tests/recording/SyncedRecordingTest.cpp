// A power cut takes the last two seconds of a recording at most. The input never waits for the disk.

#include "tests/recording/RecorderFixture.h"

#include <array>
#include <cerrno>
#include <cstdarg>
#include <dlfcn.h>
#include <linux/aio_abi.h>
#include <optional>
#include <sys/syscall.h>

namespace {

// Stands in for the kernel's syncs in the background.
struct Kernel {
    int setupError = 0;  // 0: lets the process have syncs
    int submitError = 0; // 0: takes requests
    bool isSlow = false; // no sync ends
    long result = 0;     // of each sync

    int setups = 0;
    int requests = 0;
    bool isUnderWay = false;
    std::vector<unsigned int> ticks; // of the requests

    long setUp(aio_context_t& context) {
        ++setups;
        errno = setupError;
        if (setupError != 0)
            return -1;
        context = 1;
        return 0;
    }

    long submit(const iocb& request) {
        EXPECT_EQ(IOCB_CMD_FDSYNC, request.aio_lio_opcode);
        EXPECT_FALSE(isUnderWay);
        ++requests;
        ticks.push_back(KX::KXTick::getTickCount());
        errno = submitError;
        isUnderWay = submitError == 0;
        return isUnderWay ? 1 : -1;
    }

    long take(long least, io_event& event) {
        EXPECT_EQ(0, least) << "it would wait";
        if (!isUnderWay || isSlow)
            return 0;
        isUnderWay = false;
        event.res = result;
        return 1;
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
    case SYS_io_setup: return kernel->setUp(*reinterpret_cast<aio_context_t*>(words[1]));
    case SYS_io_submit: return kernel->submit(**reinterpret_cast<iocb**>(words[2]));
    case SYS_io_getevents: return kernel->take(words[1], *reinterpret_cast<io_event*>(words[3]));
    case SYS_io_destroy: return 0;
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
