// Random sessions of an application, recorded and played again. A replay gives the same events, from the beginning or
// from any moment at which the flight recorder saved.

#include "replay/KXSessionPlayer.h"
#include "tests/recording/RecorderFixture.h"
#include "tests/support/OffscreenKeys.h"

#include "platform/KXCANMessage.h"
#include "recording/KXFunctionKeys.h"
#include "recording/KXKeyLayout.h"

#include <array>
#include <iostream>
#include <optional>
#include <random>
#include <sstream>

namespace KX {
namespace {

constexpr int sessions = 50;
constexpr int actions = 150;
constexpr int leastSaves = 200;
constexpr int actionsBetweenSaves = 24; // on average
constexpr unsigned int longestStepMs = 25;

std::string lineOf(const KXInputEvent& event) {
    std::ostringstream line;
    line << event.timeStamp << ' ' << event.eventType << " class " << event.eventClass << " key " << event.keyCode
         << " os " << event.osKeyCode << " value " << event.value << " count " << event.count << " data";
    for (const unsigned int word : event.eventData)
        line << ' ' << word;
    for (const unsigned int word : event.inputData)
        line << ' ' << word;
    return line.str();
}

bool isSame(const KXInputEvent& one, const KXInputEvent& other) {
    return one.timeStamp == other.timeStamp && one.eventType == other.eventType &&
           one.eventClass == other.eventClass && one.keyCode == other.keyCode &&
           one.osKeyCode == other.osKeyCode && one.value == other.value && one.count == other.count &&
           std::equal(std::begin(one.eventData), std::end(one.eventData), other.eventData) &&
           std::equal(std::begin(one.inputData), std::end(one.inputData), other.inputData);
}

struct TakenEvent {
    unsigned int tick;
    KXInputEvent event;
};

struct Played {
    std::vector<KXInputEvent> events;
    std::uint64_t firstMs; // of the recording
};

class RoundTripTest : public test::RecorderFixture {
protected:
    RoundTripTest() : output(std::cout.rdbuf(nullptr)), errors(std::cerr.rdbuf(nullptr)) {}
    ~RoundTripTest() override {
        KXInputEventManager::deleteInstance();
        keypadKeys.reset();
        if (application)
            application->TearDown();
        std::cout.rdbuf(output);
        std::cerr.rdbuf(errors);
    }

    // A new session in virtual time. In every second one there is a keypad, which may come to a manager in mid-session.
    void begin(unsigned int seed, unsigned int tick) {
        random.seed(seed);
        taken.clear();
        KXSimulation::reset();
        KXSimulation::setTick(tick);
        keypadKeys.reset();
        keypadFrames.fill({});
        actionsUntilKeypad.reset();
        if (seed % 2 == 0)
            return;
        if (!application) {
            application.emplace();
            application->SetUp();
        }
        keypadKeys.emplace();
        actionsUntilKeypad = below(2) == 0 ? 0 : below(actions / 2);
    }

    unsigned int below(unsigned int limit) {
        return std::uniform_int_distribution<unsigned int>(0, limit - 1)(random);
    }

    template<class Choices>
    auto oneOf(const Choices& choices) {
        return choices[below(static_cast<unsigned int>(std::size(choices)))];
    }

    KXInputEventManager& manager() { return *KXInputEventManager::getInstance(); }

    void act() {
        if (actionsUntilKeypad && (*actionsUntilKeypad)-- == 0) {
            actionsUntilKeypad.reset();
            manager().setKeyMapping(KeyLayout::functionKeys());
            manager().setCANRemoteOptions(KeyLayout::builtIn());
        }
        static constexpr int keys[] = {0x1000000, 0x1000010, 0x1000013, 0x1000015, 0x1000004, 0x41};
        switch (below(16)) {
        case 0:
        case 1:
        case 2:
        case 3: report(TOOLKIT_KEY_PRESS_EVENT, oneOf(keys)); break;
        case 4:
        case 5:
        case 6: report(TOOLKIT_KEY_RELEASE_EVENT, oneOf(keys)); break;
        case 7: turnWheel(static_cast<int>(1 + below(20))); break;
        case 8: useMouse(); break;
        case 9: handInAnEvent(); break;
        case 10: postAnEvent(); break;
        case 11: changeASetting(); break;
        case 12: sendAFrame(); break;
        case 13:
        case 14:
            if (keypadKeys)
                useKeypad();
            break;
        default: break;
        }
        take();
        static constexpr unsigned int pauses[] = {0, 3, 10, 20, 40, 60, 60, 90, 150, 250, 301, 400, 2100};
        wait(oneOf(pauses));
        if (below(25) == 0)
            wait(5000); // even the encoder comes to rest
    }

    void wait(unsigned int ms) {
        while (ms > 0) {
            const unsigned int step = std::min(ms, longestStepMs);
            KXSimulation::advance(step);
            if (keypadKeys && below(4) != 0) // a busy application sees them later
                reportKeysOfKeypad();
            take();
            ms -= step;
        }
    }

    void useMouse() {
        static constexpr int types[] = {TOOLKIT_MOUSE_PRESS_EVENT, TOOLKIT_MOUSE_RELEASE_EVENT,
                                        TOOLKIT_MOUSE_ESCAPE_EVENT, TOOLKIT_MOUSE_MOVE_EVENT};
        KXToolkitEvent event;
        event.eventType = oneOf(types);
        event.timeStamp = KXTick::getTickCount() - below(50); // a busy application sees it later
        event.eventData[1] = 1 + below(2);
        manager().toolkitEventOccurred(event);
    }

    void handInAnEvent() {
        static constexpr int types[] = {KEY_PRESS_EVENT, KEY_RELEASE_EVENT, ENCODER_MOVE_EVENT};
        KXInputEvent event;
        event.eventType = oneOf(types);
        event.keyCode = static_cast<int>(below(7));
        event.timeStamp = KXTick::getTickCount();
        event.count = static_cast<int>(below(3));
        manager().inputEventOccurred(event);
    }

    void postAnEvent() {
        if (below(2) == 0) {
            manager().postESCtoEventQueue(below(2) == 0);
            return;
        }
        KXIncident incident;
        incident.eventClass = INCIDENT_CLASS;
        incident.eventType = static_cast<int>(below(2000));
        incident.eventData[2] = below(100);
        manager().postToEventQueue(incident);
    }

    void changeASetting() {
        KXEncoderDynamic& encoder = *KXEncoderDynamic::instance();
        switch (below(8)) {
        case 0: manager().setDoubleKeyPressDuration(below(2500)); break;
        case 1: manager().setLongKeyPressDuration(below(5000)); break;
        case 2: encoder.setUserFactor(static_cast<int>(below(3000))); break;
        case 3: encoder.setLowPassFactor(static_cast<int>(below(1100))); break;
        case 4: encoder.setDynamicParameters({{5, 100}, {5 + below(200), 10}}); break;
        case 5: encoder.setDynamicParameters({}); break;
        case 6: manager().acceptInput(below(3) != 0); break;
        default: manager().setKeyMapping({{0x41, static_cast<int>(below(8))}}); break;
        }
    }

    void sendAFrame() {
        KXCANMessage frame;
        frame.canId = 0x18FF0001 + below(3);
        frame.canData[2] = static_cast<unsigned char>(below(256));
        KXSimulation::scheduleCANFrame(0, KXTick::getTickCount(), frame);
    }

    // Presses a key of the drawn keypad, or releases it if it is down, or turns the knob.
    void useKeypad() {
        const CANRemoteOptions layout = KeyLayout::builtIn();
        if (below(3) == 0) {
            KXCANMessage& frame = keypadFrames.back();
            frame.canId = layout.encoderCANId;
            frame.canData[2] = static_cast<unsigned char>(frame.canData[2] + below(11) - 5);
            KXSimulation::scheduleCANFrame(0, KXTick::getTickCount() + below(30), frame);
            return;
        }
        const KeyOptionsCANRemote key = oneOf(layout.keys);
        KXCANMessage& frame = keypadFrames[key.canId == layout.keys[0].canId ? 0 : 1];
        frame.canId = static_cast<std::uint32_t>(key.canId);
        frame.canData[key.byteIndex] ^= static_cast<unsigned char>(1U << key.bitIndex);
        KXSimulation::scheduleCANFrame(0, KXTick::getTickCount() + below(30), frame);
    }

    // As the toolkit layer does.
    void reportKeysOfKeypad() {
        for (const test::ToolkitKey& key : keypadKeys->take())
            report(key.isPress ? TOOLKIT_KEY_PRESS_EVENT : TOOLKIT_KEY_RELEASE_EVENT, key.key);
    }

    bool isKeyOfKeypadHeld() const {
        const auto isHeld = [](const KXCANMessage& frame) {
            return std::any_of(std::begin(frame.canData), std::end(frame.canData),
                               [](unsigned char bits) { return bits != 0; });
        };
        return isHeld(keypadFrames[0]) || isHeld(keypadFrames[1]);
    }

    void take() {
        while (manager().hasEvents())
            taken.push_back({KXTick::getTickCount(), manager().getNextEvent()});
    }

    static Played played(const std::string& file) {
        KXSessionPlayer player(file);
        Played found{{}, player.session().entries.front().timeMs};
        player.play([&found](const KXInputEvent& event) { found.events.push_back(event); });
        return found;
    }

    // The events from the one at this index on.
    void expectSame(std::size_t first, const std::vector<KXInputEvent>& events, const std::string& file) {
        for (std::size_t i = 0; i < events.size(); ++i)
            if (!isSame(taken[first + i].event, events[i]))
                FAIL() << file << ", event " << i << ": " << lineOf(taken[first + i].event) << " became "
                       << lineOf(events[i]);
    }

    // The replay's events are the last ones of the session, and none that came after its first entry is missing.
    void expectTheEnd(const std::string& file, std::size_t count) {
        const Played replay = played(file);
        ASSERT_LE(replay.events.size(), count) << file;
        const std::size_t first = count - replay.events.size();
        expectSame(first, replay.events, file);
        if (first > 0)
            EXPECT_LT(taken[first - 1].tick, replay.firstMs + longestStepMs) << file;
    }

    // The events since the recording began, and the recorder's problem with it.
    std::pair<std::vector<std::string>, std::string> recordSteps(const std::function<void()>& operateBefore,
                                                                 const std::function<void()>& operate) {
        KXSessionRecorder recorder;
        operateBefore();
        wait(100);
        EXPECT_TRUE(recorder.start(path)) << recorder.problem();
        take();
        const std::size_t before = taken.size();
        operate();
        take();
        const bool isWhole = recorder.stop();
        EXPECT_EQ(recorder.problem().empty(), isWhole);
        KXInputEventManager::deleteInstance();
        std::vector<std::string> lines;
        for (std::size_t i = before; i < taken.size(); ++i)
            lines.push_back(lineOf(taken[i].event));
        return {lines, recorder.problem()};
    }

    static std::vector<std::string> playedLines(const std::string& file) {
        std::vector<std::string> lines;
        for (const KXInputEvent& event : played(file).events)
            lines.push_back(lineOf(event));
        return lines;
    }

    std::mt19937 random;
    std::vector<TakenEvent> taken;
    std::optional<test::OffscreenApplication> application; // takes long to start
    std::optional<test::KeyRecorder> keypadKeys;           // of the keypad; none: there is no keypad
    std::array<KXCANMessage, 3> keypadFrames;
    std::optional<unsigned int> actionsUntilKeypad;
    std::streambuf* const output;
    std::streambuf* const errors;
};

} // namespace

TEST_F(RoundTripTest, whole_sessions_give_the_same_events) {
    for (unsigned int seed = 1; seed <= sessions; ++seed) {
        begin(seed, seed % 3 == 0 ? 4294900000U : seed * 100000);
        const std::string file = inFolder(std::to_string(seed));
        {
            KXSessionRecorder recorder;
            ASSERT_TRUE(recorder.start(file));
            KXInputEventManager::createInstance();
            for (int i = 0; i < actions; ++i)
                act();
            ASSERT_TRUE(recorder.stop()) << recorder.problem();
            KXInputEventManager::deleteInstance();
        }
        const std::vector<KXInputEvent> events = played(file).events;
        ASSERT_EQ(taken.size(), events.size()) << "seed " << seed;
        expectSame(0, events, file);
        if (HasFatalFailure())
            return;
    }
}

TEST_F(RoundTripTest, what_the_flight_recorder_saves_gives_the_same_events) {
    struct Saved {
        std::string file;
        std::size_t count; // of events that were taken until then
    };
    int inMidSession = 0;
    int withHeldKey = 0; // of the keypad
    for (unsigned int seed = 1; seed <= sessions; ++seed) {
        begin(seed + 1000, seed * 100000);
        std::vector<Saved> saves;
        {
            KXInputEventManager::createInstance();
            for (int i = 0; i < 50; ++i)
                act();
            KXSessionRecorder recorder(below(2) == 0 ? 5000 : 20000);
            for (int i = 0; i < actions; ++i) {
                act();
                const std::string file = inFolder(std::to_string(seed) + "-" + std::to_string(i));
                if (below(actionsBetweenSaves) != 0 || !recorder.save(file))
                    continue;
                saves.push_back({file, taken.size()});
                withHeldKey += isKeyOfKeypadHeld();
            }
            KXInputEventManager::deleteInstance();
        }
        for (const Saved& saved : saves) {
            expectTheEnd(saved.file, saved.count);
            ++inMidSession;
            if (HasFatalFailure())
                return;
        }
    }
    EXPECT_GE(inMidSession, leastSaves);
    EXPECT_GE(withHeldKey, leastSaves / 4);
}

TEST_F(RoundTripTest, what_is_recorded_from_mid_session_on_gives_the_same_events) {
    for (unsigned int seed = 1; seed <= sessions; ++seed) {
        begin(seed + 2000, seed * 100000);
        const std::string file = inFolder(std::to_string(seed));
        bool isWhole = false;
        {
            KXSessionRecorder recorder;
            KXInputEventManager::createInstance();
            for (int i = 0; i < actions / 2; ++i)
                act();
            ASSERT_TRUE(recorder.start(file));
            for (int i = 0; i < actions / 2; ++i)
                act();
            isWhole = recorder.stop();
            KXInputEventManager::deleteInstance();
        }
        ASSERT_TRUE(isWhole);
        expectTheEnd(file, taken.size());
        if (HasFatalFailure())
            return;
    }
}

// Directed sessions in which a recorder of the head could go wrong.

TEST_F(RoundTripTest, a_refused_table_before_the_recorder_gives_the_same_steps) {
    KXSimulation::setTick(100000);
    KXInputEventManager::createInstance();
    KXEncoderDynamic::instance()->setDynamicParameters({{9, 1}, {9, 1}}); // restarts after 500 ms from now on
    const auto [lines, problem] = recordSteps([] {},
                                              [this] {
                                                  turnWheel(20);
                                                  wait(10);
                                                  turnWheel(20);
                                                  wait(300);
                                                  turnWheel(1);
                                              });
    EXPECT_EQ("", problem);
    EXPECT_FALSE(lines.empty());
    EXPECT_EQ(lines, playedLines(path));
}

// A time stamp of 0 is a step, too, and the next one goes on with its turn.
TEST_F(RoundTripTest, no_recording_begins_in_a_turn_whose_last_step_was_at_tick_0) {
    KXSimulation::setTick(4294967200U);
    KXInputEventManager::createInstance();
    const auto turnUntilTick0 = [this] {
        turnWheel(30);
        wait(86);
        turnWheel(30);
        wait(10);
        turnWheel(1);
    };
    const auto [lines, problem] = recordSteps(turnUntilTick0, [this] {
        wait(10);
        turnWheel(1);
        wait(10);
        turnWheel(1);
    });
    EXPECT_FALSE(lines.empty());
    EXPECT_EQ(path + ": the recording is empty, because no moment of rest came", problem);
}

TEST_F(RoundTripTest, a_recording_ends_where_an_encoder_is_initialised_and_gives_the_same_steps_until_then) {
    KXSimulation::setTick(100000);
    KXInputEventManager::createInstance();
    const auto [lines, problem] = recordSteps([] {},
                                              [this] {
                                                  turnWheel(30);
                                                  wait(150);
                                                  KXEncoderDynamic::instance()->initialize();
                                                  turnWheel(30);
                                                  wait(10);
                                                  turnWheel(30);
                                              });
    EXPECT_EQ(path + ": the encoder was initialised anew and has forgotten its last turn", problem);
    const std::vector<std::string> replayed = playedLines(path);
    ASSERT_FALSE(replayed.empty());
    ASSERT_LT(replayed.size(), lines.size());
    EXPECT_TRUE(std::equal(replayed.begin(), replayed.end(), lines.begin()));
}

} // namespace KX
