// What a recorder notes when the application, the clock or another observer does something unusual.

#include "tests/recording/RecorderFixture.h"

#include "events/KXEventClass.h"
#include "events/KXSomeEvent.h"
#include "input/KXInputObserver.h"

#include <chrono>

namespace KX::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;

class RecorderSessionTest : public RecorderFixture {
protected:
    KXInputEventManager& manager() { return *KXInputEventManager::createInstance(); }

    // Posts the event while a recording goes on. \return its line
    std::string postedLine(KXEvent& event) {
        std::filesystem::remove(path);
        KXSimulation::setTick(7);
        KXSessionRecorder recorder;
        EXPECT_TRUE(recorder.start(path)) << recorder.problem();
        testing::internal::CaptureStderr(); // the library reports an unknown class
        manager().postToEventQueue(event);
        testing::internal::GetCapturedStderr();
        EXPECT_TRUE(recorder.stop()) << recorder.problem();
        KXInputEventManager::deleteInstance();
        for (const std::string& entry : entriesOf(path))
            if (entry.find(" post ") != std::string::npos)
                return entry;
        return "none";
    }
};

template<class Event>
Event eventOfClass(int eventClass) {
    Event event;
    event.eventClass = eventClass;
    event.eventType = 4711;
    event.value = 5;
    return event;
}

} // namespace

TEST_F(RecorderSessionTest, a_post_of_the_first_and_the_last_class_is_recorded_with_its_fields) {
    KXEvent first = eventOfClass<KXEvent>(EVENT_CLASS);
    EXPECT_THAT(postedLine(first), HasSubstr(" post 4711 time=0 class=0 value=5"));
    KXSomeEvent last = eventOfClass<KXSomeEvent>(SOME_EVENT_CLASS);
    EXPECT_THAT(postedLine(last), HasSubstr(" post 4711 time=0 class=7 value=5"));
}

TEST_F(RecorderSessionTest, a_post_of_an_unknown_class_is_recorded_with_its_type_only) {
    for (const int unknown : {-1, 8}) {
        KXSomeEvent event = eventOfClass<KXSomeEvent>(unknown);
        EXPECT_EQ("7 post 4711 time=0 class=" + std::to_string(unknown) + " source-class=0", postedLine(event));
    }
}

TEST_F(RecorderSessionTest, what_comes_after_the_clock_has_gone_back_can_be_saved_with_its_time) {
    KXSimulation::setTick(1000);
    KXSessionRecorder recorder(60000);
    manager();
    KXSimulation::setTick(50);
    KXInputEventManager::getObserver()->onPass(50);
    ASSERT_TRUE(recorder.save(path)) << recorder.problem();
    EXPECT_THAT(inputsOf(path), ElementsAre("50 pass", "50 end"));
}

TEST_F(RecorderSessionTest, a_session_that_is_shorter_than_what_is_kept_is_saved_whole) {
    KXSessionRecorder recorder(60000);
    manager();
    KXSimulation::advance(1);
    manager().setLongKeyPressDuration(3000);
    KXSimulation::advance(99);
    ASSERT_TRUE(recorder.save(path)) << recorder.problem();
    EXPECT_THAT(entriesOf(path), Contains("1 set long-press 3000"));
    EXPECT_THAT(inputsOf(path), ElementsAre("0 pass", "100 pass", "100 end"));
}

TEST_F(RecorderSessionTest, a_recording_is_whole_although_the_one_before_was_not) {
    KXSessionRecorder recorder;
    manager();
    ASSERT_TRUE(recorder.start(path));
    std::filesystem::remove(path);
    testing::internal::CaptureStderr();
    KXSimulation::advance(1100);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("; the recording ends here\n"));
    ASSERT_FALSE(recorder.isRecording());
    ASSERT_TRUE(recorder.start(inFolder("next.kxr"))) << recorder.problem();
    EXPECT_TRUE(recorder.stop());
}

TEST_F(RecorderSessionTest, a_recorder_that_takes_its_place_back_knows_a_table_that_was_refused_meanwhile) {
    KXSessionRecorder recorder;
    manager();
    KXInputObserver other;
    KXInputEventManager::setObserver(&other);
    KXEncoderDynamic::instance()->setDynamicParameters({{9, 1}, {9, 1}});
    ASSERT_TRUE(recorder.start(path)) << recorder.problem();
    KXSimulation::advance(100);
    EXPECT_TRUE(recorder.stop());
    EXPECT_THAT(entriesOf(path), Contains("100 set speed-table 1:1 1:1"));
}

TEST_F(RecorderSessionTest, a_recording_into_a_device_goes_on_although_no_disk_takes_it) {
    KXSessionRecorder recorder;
    manager();
    ASSERT_TRUE(recorder.start("/dev/null")) << recorder.problem();
    KXSimulation::advance(3000);
    EXPECT_TRUE(recorder.isRecording()) << recorder.problem();
    EXPECT_TRUE(recorder.stop());
}

// Which would otherwise wait for five seconds. Whatever else the machine does, it does not do that three times.
TEST_F(RecorderSessionTest, the_worker_goes_on_as_soon_as_the_recorder_stops) {
    using Clock = std::chrono::steady_clock;
    constexpr std::chrono::seconds limit(4);
    KXSessionRecorder recorder;
    Clock::duration shortest = limit;
    for (int round = 0; round < 3 && shortest >= limit; ++round) {
        recorder.holdWorker();
        EXPECT_TRUE(recorder.stop());
        const Clock::time_point begin = Clock::now();
        KXInputEventManager::getObserver()->onPassDue();
        shortest = Clock::now() - begin;
    }
    EXPECT_LT(shortest, limit);
}

} // namespace KX::test
