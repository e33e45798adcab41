// What an application calls that plays a recording by itself.

#include "tests/faults/ManagerSupport.h"

#include "events/KXEventType.h"
#include "events/KXKeyCode.h"
#include "platform/KXTick.h"
#include "recording/KXKeyLayout.h"
#include "recording/KXRecordedCalls.h"
#include "recording/KXSessionRecorder.h"
#include "recording/KXWorkerHold.h"

#include <Qt>

#include <map>
#include <memory>

namespace KX::test {

namespace {

using Recording::repeatCall;

KXToolkitEvent keyEvent(int type) {
    KXToolkitEvent event;
    event.eventType = type;
    event.osKeyCode = Qt::Key_Home;
    event.timeStamp = KXTick::getTickCount() - 1000;
    return event;
}

const Operation recordedCallOperations[] = {
    {"KXRecordedCalls", "repeat_an_event",
     "allocates nothing; an event that the pipe cannot take is lost with a line",
     [](Fault& fault) {
         KXInputEventManager& present = manager();
         const auto press = keyEvent(TOOLKIT_KEY_PRESS_EVENT);
         EXPECT_EQ(fault.during([&] { return repeatCall(press, present); }), STATUS_OK);
         EXPECT_EQ(takeTypes(present).size(), hasLostEvent(fault) ? 0U : 1U);
         EXPECT_EQ(repeatCall(keyEvent(TOOLKIT_KEY_RELEASE_EVENT), present), STATUS_OK);
         EXPECT_EQ(takeTypes(present), std::vector<int>{KEY_RELEASE_EVENT});
     }},

    {"KXRecordedCalls", "repeat_a_post",
     "allocates nothing; an event that the pipe cannot take is lost with a line",
     [](Fault& fault) {
         KXInputEventManager& present = manager();
         Recording::Post post;
         post.event.eventType = KEY_PRESS_EVENT;
         EXPECT_EQ(fault.during([&] { return repeatCall(post, present); }), STATUS_OK);
         EXPECT_EQ(takeTypes(present).size(), hasLostEvent(fault) ? 0U : 1U);
         EXPECT_EQ(repeatCall(post, present), STATUS_OK);
         EXPECT_EQ(takeTypes(present), std::vector<int>{KEY_PRESS_EVENT});
     }},

    {"KXRecordedCalls", "repeat_a_number", "does not fail",
     [](Fault& fault) {
         KXInputEventManager& present = manager();
         using Recording::NumberSetting;
         fault.during([&] {
             EXPECT_EQ(repeatCall(NumberSetting{KXInputSetting::DoubleKeyPressDuration, 250}, present), STATUS_OK);
             EXPECT_EQ(repeatCall(NumberSetting{KXInputSetting::AcceptInput, 1}, present), STATUS_OK);
             EXPECT_EQ(repeatCall(NumberSetting{KXInputSetting::EncoderUserFactor, 100}, present), STATUS_OK);
         });
         EXPECT_EQ(repeatCall(NumberSetting{KXInputSetting::DoubleKeyPressDuration, 200}, present), STATUS_OK);
     }},

    {"KXRecordedCalls", "repeat_a_mapping", "throws std::bad_alloc; no key is changed",
     [](Fault& fault) {
         KXInputEventManager& present = manager();
         const std::map<int, int> before = *KXInputEventManager::getKXtoOSCodeMap();
         const Recording::KeyMapping mapping{{{Qt::Key_A, 70}}};
         if (!fault.completes([&] { repeatCall(mapping, present); })) {
             EXPECT_EQ(*KXInputEventManager::getKXtoOSCodeMap(), before);
             EXPECT_EQ(repeatCall(mapping, present), STATUS_OK);
         }
         EXPECT_EQ(KXInputEventManager::getKXtoOSCodeMap()->count(70), 1U);
         KXInputEventManager::deleteInstance();
         *KXInputEventManager::getKXtoOSCodeMap() = before; // the table outlives the manager
     }},

    {"KXRecordedCalls", "repeat_a_speed_table", "throws std::bad_alloc; the table is unchanged",
     [](Fault& fault) {
         KXInputEventManager& present = manager();
         KXEncoderDynamic& encoder = *KXEncoderDynamic::instance();
         const auto before = encoder.getDynamicParameters();
         const Recording::SpeedTable table{{{10, 2}, {20, 5}}};
         if (!fault.completes([&] { repeatCall(table, present); })) {
             EXPECT_EQ(encoder.getDynamicParameters().size(), before.size());
             EXPECT_EQ(repeatCall(table, present), STATUS_OK);
         }
         EXPECT_EQ(encoder.getDynamicParameters().size(), table.rows.size());
         encoder.setDynamicParameters(before);
     }},
};

const Operation workerHoldOperations[] = {
    {"KXWorkerHold", "keep_and_release", "does not fail; the worker stands still meanwhile",
     [](Fault& fault) {
         KXInputEventManager& present = manager();
         KXWorkerHold hold;
         KXInputEventManager::setObserver(&hold);
         fault.during([&] { hold.keep(); });
         EXPECT_EQ(repeatCall(keyEvent(TOOLKIT_KEY_PRESS_EVENT), present), STATUS_OK);
         EXPECT_EQ(takeTypes(present).size(), 1U);
         fault.during([&] { hold.release(); });
         KXInputEventManager::setObserver(nullptr);
         repeatCall(keyEvent(TOOLKIT_KEY_RELEASE_EVENT), present);
         takeTypes(present);
     }},

    {"KXSessionRecorder", "holdWorker", "does not fail; the worker goes on after stop",
     [](Fault& fault) {
         manager();
         KXSessionRecorder recorder;
         fault.during([&] { recorder.holdWorker(); });
         EXPECT_EQ(recorder.problem(), "");
         EXPECT_TRUE(recorder.stop());
     }},

    {"KXSessionRecorder", "holdWorker_of_one_that_does_not_observe", "does not fail; the problem is told",
     [](Fault& fault) {
         manager();
         KXSessionRecorder recorder;
         KXWorkerHold other;
         KXInputEventManager::setObserver(&other);
         fault.during([&] { recorder.holdWorker(); });
         EXPECT_NE(recorder.problem(), "");
         KXInputEventManager::setObserver(nullptr);
     }},
};

} // namespace

} // namespace KX::test
