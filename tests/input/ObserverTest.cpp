#include "encoder/KXEncoderDynamic.h"
#include "input/CANRemoteHandler.h"
#include "input/KXInputObserver.h"
#include "platform/KXStatus.h"
#include "tests/support/OperatorTest.h"
#include "tests/support/OwnCANBus.h"

#include <gmock/gmock.h>

#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

namespace KX::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Writes a line for each call.
class Notes : public KXInputObserver {
public:
    Notes() { KXInputEventManager::setObserver(this); }
    ~Notes() override { KXInputEventManager::setObserver(nullptr); }

    std::vector<std::string> take() { return std::exchange(lines, {}); }

    void onToolkitEvent(const KXToolkitEvent& event) override {
        note("toolkit " + std::to_string(event.eventType) + " class " + std::to_string(event.eventClass) +
             " key " + std::to_string(event.keyCode));
    }
    void onInputEvent(const KXInputEvent& event) override {
        note("input " + std::to_string(event.eventType) + " key " + std::to_string(event.keyCode));
    }
    void onPostedEvent(const KXEvent& event) override {
        note("posted " + std::to_string(event.eventType) + " class " + std::to_string(event.eventClass));
    }
    void onSetting(KXInputSetting setting, std::int64_t value) override {
        note("setting " + std::to_string(static_cast<int>(setting)) + " = " + std::to_string(value));
    }
    void onSpeedTable(const std::vector<KXEncoderDynamicPair>& pairs) override {
        note("table of " + std::to_string(pairs.size()));
    }
    void onKeyMapping(const std::map<int, int>& mapping) override {
        note("keys: " + std::to_string(mapping.size()));
    }
    void onKeypad(const CANRemoteOptions& options) override {
        note("keypad " + std::to_string(options.encoderCANId));
    }
    void onFrame(const KXCANMessage& frame) override { note("frame " + std::to_string(frame.canId)); }
    void onPass(unsigned int tick) override { note("pass " + std::to_string(tick)); }
    void onPassDue() override { note("pass due"); }

protected:
    virtual void note(const std::string& line) { lines.push_back(line); }

    std::vector<std::string> lines;
};

class Observer : public OperatorTest {
protected:
    Notes notes; // before the manager is made
};

class ObserverSetLater : public OperatorTest {};

std::string setting(KXInputSetting name, std::int64_t value) {
    return "setting " + std::to_string(static_cast<int>(name)) + " = " + std::to_string(value);
}

TEST_F(Observer, sees_the_defaults_that_a_new_manager_sets) {
    EXPECT_THAT(notes.take(), ElementsAre(setting(KXInputSetting::AcceptInput, 1),
                                          setting(KXInputSetting::DoubleKeyPressDuration, 300),
                                          setting(KXInputSetting::LongKeyPressDuration, 2000), "table of 7",
                                          setting(KXInputSetting::EncoderLowPassFactor, 900),
                                          setting(KXInputSetting::EncoderUserFactor, 1000), "keys: 7"));
}

TEST_F(Observer, sees_a_toolkit_event_as_the_toolkit_reported_it_and_once) {
    notes.take();
    operatorPresses(Qt::Key_Home);
    EXPECT_THAT(notes.take(), ElementsAre("toolkit 300 class 2 key -1"));
    EXPECT_EQ(expectPosted(KEY_PRESS_EVENT).keyCode, 1);
}

TEST_F(Observer, sees_toolkit_events_whose_type_is_dropped_or_unknown) {
    notes.take();
    EXPECT_EQ(toolkitReports(TOOLKIT_KEY_AUTO_REPEAT_PRESS_EVENT, Qt::Key_Home), STATUS_REFUSED);
    testing::internal::CaptureStderr();
    EXPECT_EQ(toolkitReports(209, -1), STATUS_REFUSED);
    testing::internal::GetCapturedStderr();
    EXPECT_THAT(notes.take(), ElementsAre("toolkit 302 class 2 key -1", "toolkit 209 class 2 key -1"));
}

TEST_F(Observer, sees_input_that_is_not_accepted) {
    manager->acceptInput(false);
    notes.take();
    testing::internal::CaptureStdout();
    operatorPresses(Qt::Key_Home);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "KXInputEventManager::inputEventOccurred: Input IGNORED.\n");
    EXPECT_THAT(notes.take(), ElementsAre("toolkit 300 class 2 key -1"));
    expectNothingMore();
}

TEST_F(Observer, sees_an_event_that_is_handed_in_before_it_is_classified) {
    notes.take();
    KXInputEvent step;
    step.eventType = KEY_PRESS_EVENT;
    step.keyCode = 4;
    manager->inputEventOccurred(step);
    EXPECT_THAT(notes.take(), ElementsAre("input 24 key 4"));
    EXPECT_EQ(step.eventType, ENCODER_MOVE_EVENT);
}

TEST_F(Observer, sees_events_that_are_posted_past_classification_and_not_those_that_the_manager_posts) {
    notes.take();
    KXSignal signal;
    signal.eventType = TIMER_TIMEOUT_EVENT;
    manager->postToEventQueue(signal);
    manager->postESCtoEventQueue(true);
    operatorPresses(Qt::Key_Home);
    EXPECT_THAT(notes.take(),
                ElementsAre("posted 2000 class 6", "posted 24 class 3", "toolkit 300 class 2 key -1"));
}

TEST_F(Observer, sees_settings_whoever_makes_them_also_those_that_are_refused) {
    notes.take();
    EXPECT_EQ(manager->setDoubleKeyPressDuration(2000), STATUS_REFUSED);
    manager->setLongKeyPressDuration(2500);
    manager->acceptInput(true);
    manager->setKeyboardLayout(3);
    KXEncoderDynamic::instance()->setUserFactor(0);
    KXEncoderDynamic::instance()->setLowPassFactor(500);
    KXEncoderDynamic::instance()->setDynamicParameters({{5, 1}, {40, 2}});
    manager->setKeyMapping({{0x42, 9}});
    EXPECT_THAT(notes.take(),
                ElementsAre(setting(KXInputSetting::DoubleKeyPressDuration, 2000),
                            setting(KXInputSetting::LongKeyPressDuration, 2500),
                            setting(KXInputSetting::AcceptInput, 1), setting(KXInputSetting::KeyboardLayout, 3),
                            setting(KXInputSetting::EncoderUserFactor, 0),
                            setting(KXInputSetting::EncoderLowPassFactor, 500), "table of 2", "keys: 1"));
}

TEST_F(Observer, sees_the_keypad_and_its_frames_before_they_are_decoded) {
    notes.take();
    CANRemoteOptions options;
    options.encoderCANId = 77;
    for (KeyOptionsCANRemote& key : options.keys)
        key.canId = -1;
    manager->setCANRemoteOptions(options);
    OwnCANBus bus;
    KXCANMessage message;
    message.canId = 0x123;
    bus.frames.push_back(message);
    CANRemoteHandler handler(manager);
    handler.onEndPointReadable(&bus, nullptr);
    handler.onEndPointReadable(&bus, nullptr); // nothing to read
    EXPECT_THAT(notes.take(), ElementsAre("keypad 77", "frame 291"));
}

TEST_F(Observer, sees_each_pass_with_its_tick_behind_the_word_that_it_is_due) {
    notes.take();
    timePasses(200);
    EXPECT_THAT(notes.take(), ElementsAre("pass due", "pass 100", "pass due", "pass 200"));
}

TEST_F(Observer, sees_a_pass_before_what_becomes_due_in_it) {
    operatorPresses(Qt::Key_Home);
    expectPosted(KEY_PRESS_EVENT);
    timePasses(1900);
    notes.take();
    class Early : public Notes {
    public:
        explicit Early(KXInputEventManager* observedManager) : manager(observedManager) {}
        bool hadEvents = true;

    private:
        void note(const std::string& line) override {
            if (line == "pass 2000")
                hadEvents = manager->hasEvents();
        }
        KXInputEventManager* manager;
    } early(manager);
    timePasses(100);
    EXPECT_FALSE(early.hadEvents);
    expectPosted(KEY_LONG_PRESS_EVENT);
}

TEST_F(ObserverSetLater, need_not_take_notice_of_anything) {
    KXInputObserver idle;
    KXInputEventManager::setObserver(&idle);
    manager->setCANRemoteOptions(CANRemoteOptions());
    OwnCANBus bus;
    bus.frames.emplace_back();
    CANRemoteHandler handler(manager);
    handler.onEndPointReadable(&bus, nullptr);
    EXPECT_THAT(bus.frames, IsEmpty());
    KXInputEvent event;
    event.eventType = KEY_PRESS_EVENT;
    manager->inputEventOccurred(event);
    EXPECT_EQ(manager->getNextEvent().eventType, KEY_PRESS_EVENT);
    manager->postToEventQueue(event);
    EXPECT_EQ(manager->getNextEvent().eventType, KEY_PRESS_EVENT);
    KXInputEventManager::setObserver(nullptr);
}

TEST_F(ObserverSetLater, sees_what_comes_from_then_on_and_nothing_after_it_was_taken_away) {
    operatorPresses(Qt::Key_Home);
    {
        Notes notes;
        notes.take(); // the settings
        operatorReleases(Qt::Key_Home);
        EXPECT_THAT(notes.take(), ElementsAre("toolkit 301 class 2 key -1"));
        KXInputEventManager::setObserver(nullptr);
        operatorPresses(Qt::Key_Home);
        KXEncoderDynamic::instance()->setUserFactor(1000);
        timePasses(100);
        EXPECT_THAT(notes.take(), IsEmpty());
    }
    expectPosted(KEY_PRESS_EVENT);
    expectPosted(KEY_RELEASE_EVENT);
    expectPosted(KEY_DOUBLE_PRESS_EVENT);
}

TEST_F(ObserverSetLater, is_told_the_settings_of_the_moment_first) {
    manager->setLongKeyPressDuration(4000);
    manager->setDoubleKeyPressDuration(2500); // a new manager takes it behind the long press only
    manager->acceptInput(false);
    KXEncoderDynamic::instance()->setUserFactor(1500);
    manager->setKeyMapping({{66, 9}});
    Notes notes;
    EXPECT_THAT(notes.take(), ElementsAre("setting 1 = 4000", "setting 0 = 2500", "setting 4 = 0", "setting 5 = 0",
                                          "setting 2 = 1500", "setting 3 = 900", "table of 7", "keys: 8"));
}

TEST_F(ObserverSetLater, is_told_the_keyboard_layout_that_was_set_last) {
    manager->setKeyboardLayout(3);
    Notes notes;
    EXPECT_THAT(notes.take(), testing::Contains(setting(KXInputSetting::KeyboardLayout, 3)));
}

// Each setting is one that a new manager accepts: its long-press time is 2000.
TEST_F(ObserverSetLater, is_told_the_longer_time_first_where_the_double_press_needs_it) {
    manager->setLongKeyPressDuration(4000);
    for (const unsigned int doublePressMs : {1999U, 2000U, 2001U}) {
        manager->setDoubleKeyPressDuration(doublePressMs);
        Notes notes;
        std::vector<std::string> expected = {setting(KXInputSetting::DoubleKeyPressDuration, doublePressMs),
                                             setting(KXInputSetting::LongKeyPressDuration, 4000)};
        if (doublePressMs >= 2000)
            std::swap(expected[0], expected[1]);
        std::vector<std::string> told = notes.take();
        told.resize(2);
        EXPECT_EQ(told, expected);
    }
}

TEST_F(ObserverSetLater, changes_nothing_that_is_posted) {
    for (const bool isObserved : {false, true}) {
        KXInputObserver observer; // with empty operations
        KXInputEventManager::setObserver(isObserved ? &observer : nullptr);
        operatorPresses(Qt::Key_Home);
        timePasses(2000);
        operatorReleases(Qt::Key_Home);
        toolkitReports(TOOLKIT_WHEEL_EVENT, -1, 0, 1);
        timePasses(1000);
        expectPosted(KEY_PRESS_EVENT);
        expectPosted(KEY_LONG_PRESS_EVENT);
        expectPosted(KEY_LONG_RELEASE_EVENT);
        expectPosted(KEY_RELEASE_EVENT);
        expectPosted(ENCODER_MOVE_EVENT);
        expectNothingMore();
        KXInputEventManager::setObserver(nullptr);
    }
}

TEST_F(ObserverSetLater, is_the_one_that_the_manager_names) {
    EXPECT_EQ(nullptr, KXInputEventManager::getObserver());
    {
        const Notes notes;
        EXPECT_EQ(&notes, KXInputEventManager::getObserver());
        KXInputEventManager::deleteInstance();
        EXPECT_EQ(&notes, KXInputEventManager::getObserver()) << "without a manager, too";
        const Notes later;
        EXPECT_EQ(&later, KXInputEventManager::getObserver());
    }
    EXPECT_EQ(nullptr, KXInputEventManager::getObserver());
}

// An observer asks while the manager's mutex is held.
TEST_F(ObserverSetLater, may_ask_inside_an_operation_who_the_observer_is) {
    struct Asking final : KXInputObserver {
        void onToolkitEvent(const KXToolkitEvent& /*event*/) override {
            found = KXInputEventManager::getObserver();
        }
        KXInputObserver* found = nullptr;
    } asking;
    KXInputEventManager::setObserver(&asking);
    operatorPresses(Qt::Key_Home);
    KXInputEventManager::setObserver(nullptr);
    EXPECT_EQ(&asking, asking.found);
    expectPosted(KEY_PRESS_EVENT);
}

TEST_F(ObserverSetLater, may_be_there_without_a_manager) {
    KXInputEventManager::deleteInstance();
    {
        Notes notes;
        KXEncoderDynamic dynamic;
        dynamic.setUserFactor(7);
        EXPECT_THAT(notes.take(), ElementsAre(setting(KXInputSetting::EncoderUserFactor, 7)));
    }
    manager = KXInputEventManager::createInstance();
}

// The hook and the observer run with the mutex held and must not lock it again.
KXInputEventManager* hookedManager = nullptr;

void callManagerFromHook() {
    static bool isCalling = false;
    if (isCalling)
        return;
    isCalling = true;
    hookedManager->acceptInput(true);
    hookedManager->setDoubleKeyPressDuration(200);
    hookedManager->postESCtoEventQueue(true);
    isCalling = false;
}

TEST_F(Observer, does_not_keep_an_after_post_hook_from_settings_and_posts) {
    notes.take();
    hookedManager = manager;
    manager->getInputEventsQueue()->setAfterPostFunction(&callManagerFromHook);
    operatorPresses(Qt::Key_Home);
    EXPECT_THAT(notes.take(),
                ElementsAre("toolkit 300 class 2 key -1", setting(KXInputSetting::AcceptInput, 1),
                            setting(KXInputSetting::DoubleKeyPressDuration, 200), "posted 24 class 3"));
    timePasses(2000); // the worker posts a long press
    EXPECT_EQ(notes.take().back(), "posted 24 class 3");
    manager->getInputEventsQueue()->setAfterPostFunction(nullptr);
}

TEST_F(ObserverSetLater, is_not_told_of_a_report_again_when_the_event_could_not_be_taken) {
    KXInputEventManager::deleteInstance();
    class Overriding : public KXInputEventManager {
    public:
        int inputEventOccurred(KXInputEvent& event) override {
            if (event.keyCode == 1)
                throw std::runtime_error("not this one");
            return KXInputEventManager::inputEventOccurred(event);
        }
    };
    auto overriding = std::make_unique<Overriding>();
    Notes notes;
    KXToolkitEvent event;
    event.eventType = TOOLKIT_KEY_PRESS_EVENT;
    event.osKeyCode = Qt::Key_Home;
    EXPECT_THROW(overriding->toolkitEventOccurred(event), std::runtime_error);
    EXPECT_THAT(notes.take(), ElementsAre("toolkit 300 class 2 key -1"));
    KXInputEvent direct;
    direct.eventType = KEY_PRESS_EVENT;
    direct.keyCode = 2;
    overriding->inputEventOccurred(direct);
    EXPECT_THAT(notes.take(), ElementsAre("input 24 key 2"));
    overriding.reset();
    manager = KXInputEventManager::createInstance();
}

// An override may hand in what it likes before and instead of the event that it was given.
TEST_F(ObserverSetLater, sees_a_report_for_its_own_event_only) {
    KXInputEventManager::deleteInstance();
    class Overriding : public KXInputEventManager {
    public:
        int inputEventOccurred(KXInputEvent& event) override {
            if (event.keyCode == 1) {
                KXInputEvent other;
                other.eventType = MOUSE_MOVE_EVENT;
                KXInputEventManager::inputEventOccurred(other);
                KXToolkitEvent release;
                release.eventType = TOOLKIT_KEY_RELEASE_EVENT;
                release.osKeyCode = Qt::Key_End;
                toolkitEventOccurred(release);
            }
            return KXInputEventManager::inputEventOccurred(event);
        }
    };
    auto overriding = std::make_unique<Overriding>();
    Notes notes;
    KXToolkitEvent event;
    event.eventType = TOOLKIT_KEY_PRESS_EVENT;
    event.osKeyCode = Qt::Key_Home;
    overriding->toolkitEventOccurred(event);
    EXPECT_THAT(notes.take(),
                ElementsAre("input 602 key -1", "toolkit 301 class 2 key -1", "toolkit 300 class 2 key -1"));
    overriding.reset();
    manager = KXInputEventManager::createInstance();
}

TEST_F(Observer, that_throws_lets_its_exception_out_and_is_not_told_again) {
    class Throwing : public KXInputObserver {
    public:
        void onToolkitEvent(const KXToolkitEvent&) override {
            ++told;
            throw std::runtime_error("full");
        }
        int told = 0;
    } throwing;
    KXInputEventManager::setObserver(&throwing);
    EXPECT_THROW(toolkitReports(TOOLKIT_KEY_AUTO_REPEAT_PRESS_EVENT, Qt::Key_Home), std::runtime_error);
    EXPECT_EQ(throwing.told, 1) << "of a type that is dropped";
    EXPECT_THROW(operatorPresses(Qt::Key_Home), std::runtime_error);
    EXPECT_EQ(throwing.told, 2);
    KXInputEventManager::setObserver(&notes);
    notes.take();
    operatorPresses(Qt::Key_Home);
    EXPECT_THAT(notes.take(), ElementsAre("toolkit 300 class 2 key -1"));
}

// The caller has an exception and no observer, so it may delete what it wanted to set.
TEST_F(ObserverSetLater, that_cannot_take_the_settings_is_not_set) {
    class Full : public KXInputObserver {
        void onKeyMapping(const std::map<int, int>&) override { throw std::bad_alloc(); }
    };
    auto full = std::make_unique<Full>();
    EXPECT_THROW(KXInputEventManager::setObserver(full.get()), std::bad_alloc);
    full.reset();
    EXPECT_EQ(KXInputEventManager::getObserver(), nullptr);
    operatorPresses(Qt::Key_Home);
    KXEncoderDynamic::instance()->setUserFactor(1000);
    expectPosted(KEY_PRESS_EVENT);
}

TEST_F(ObserverSetLater, may_ask_for_the_encoder_while_that_is_made) {
    KXInputEventManager::deleteInstance();
    class Asking : public KXInputObserver {
    public:
        void onSpeedTable(const std::vector<KXEncoderDynamicPair>&) override {
            seen = KXEncoderDynamic::instance();
        }
        KXEncoderDynamic* seen = nullptr;
    } asking;
    KXInputEventManager::setObserver(&asking);
    manager = KXInputEventManager::createInstance();
    EXPECT_NE(asking.seen, nullptr);
    EXPECT_EQ(asking.seen, KXEncoderDynamic::instance());
    KXInputEventManager::setObserver(nullptr);
}

TEST_F(Observer, sees_that_the_encoder_is_set_back) {
    notes.take();
    KXEncoderDynamic::instance()->initialize();
    EXPECT_THAT(notes.take(), ElementsAre("table of 7", setting(KXInputSetting::EncoderLowPassFactor, 900),
                                          setting(KXInputSetting::EncoderUserFactor, 1000)));
}

} // namespace
} // namespace KX::test
