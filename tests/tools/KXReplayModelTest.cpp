// Plays random sessions and compares them with a small model of the manager.

#include "ReplayTest.h"
#include "models/ClassificationModel.h"
#include "models/RandomInput.h"
#include "models/RandomRun.h"

namespace Replay::test {
namespace {

using KX::Recording::NumberSetting;
using KX::test::ClassificationModel;
using KX::test::Fields;
using KX::test::fieldsOf;
using KX::test::PlainEvent;
using KX::test::Random;
using KX::test::RandomInput;
using KX::test::WorkerModel;

KX::KXToolkitEvent toolkitEventOf(const Fields& fields) {
    KX::KXToolkitEvent event;
    event.eventClass = fields.eventClass;
    event.eventType = fields.eventType;
    event.timeStamp = fields.timeStamp;
    std::copy(fields.eventData.begin(), fields.eventData.end(), event.eventData);
    event.value = fields.value;
    event.count = fields.count;
    event.keyCode = fields.keyCode;
    event.osKeyCode = fields.osKeyCode;
    event.inputValue = fields.inputValue;
    std::copy(fields.inputData.begin(), fields.inputData.end(), event.inputData);
    return event;
}

/// Invents a session and records what the model expects.
class RandomSession {
public:
    RandomSession(std::uint32_t seed, bool withPasses)
        : random(seed), hasPasses(withPasses), input(random, model) {
        model.initialize();
        nowMs = 0xFFFFFFFFU - random.below(60000);
        worker.isRunning = !withPasses;
        worker.nextPass = now() + 100;
        session.hasPasses = withPasses;
        add(KX::Recording::Pass()); // without recorded passes the first entry sets their beat
        if (!withPasses)
            session.entries.back().input = NumberSetting{KX::KXInputSetting::AcceptInput, 1};
    }

    void addEntry() {
        timePasses(random.oneIn(400) ? random.below(60000) : input.gap(now()));
        const std::uint32_t which = random.below(100);
        if (which < 3)
            addSetting();
        else if (which < 6)
            addSpeedTableOrKeys();
        else if (which < 40 && hasPasses)
            addPass();
        else
            addToolkitEvent();
    }

    void finish() { timePasses(hasPasses ? 0 : 200); }

    KX::Recording::Session session;
    ClassificationModel model;

private:
    unsigned int now() const { return static_cast<unsigned int>(nowMs); }

    void add(KX::Recording::Input what) {
        session.entries.push_back({nowMs, std::move(what), session.entries.size() + 1});
    }

    void pass(unsigned int tick) {
        model.sendLongPress(tick);
        model.sendBundle(tick);
    }

    void timePasses(unsigned int ms) {
        unsigned int tick = now();
        worker.advance(tick, ms, [this](unsigned int passTick) { pass(passTick); });
        nowMs += ms;
    }

    void addPass() {
        add(KX::Recording::Pass());
        pass(now());
    }

    void addToolkitEvent() {
        PlainEvent event = input.toolkitEvent(now());
        event.objectClass = 2;
        event.fields.signalData = {};
        event.fields.sourceClass = 0;
        add(toolkitEventOf(event.fields));
        model.toolkitEvent(event);
    }

    void addSetting() {
        const auto duration = input.duration();
        const int factor = random.oneOf({0, 1, 500, 900, 1000, 1001, 2500});
        switch (random.below(5)) {
        case 0:
            add(NumberSetting{KX::KXInputSetting::DoubleKeyPressDuration, duration});
            model.setDoublePress(duration);
            break;
        case 1:
            add(NumberSetting{KX::KXInputSetting::LongKeyPressDuration, duration});
            model.setLongPress(duration);
            break;
        case 2:
            model.acceptsInput = !random.oneIn(4);
            add(NumberSetting{KX::KXInputSetting::AcceptInput, model.acceptsInput ? 1 : 0});
            break;
        case 3:
            add(NumberSetting{KX::KXInputSetting::EncoderUserFactor, factor});
            model.encoder->setUserFactor(factor);
            break;
        default:
            add(NumberSetting{KX::KXInputSetting::EncoderLowPassFactor, factor});
            model.encoder->setLowPassFactor(factor);
            break;
        }
    }

    void addSpeedTableOrKeys() {
        if (random.oneIn(2)) {
            const auto mapping = input.keyMapping();
            add(KX::Recording::KeyMapping{mapping});
            model.setKeys(mapping);
            return;
        }
        KX::Recording::SpeedTable table;
        KX::test::EncoderModel::Table modelTable;
        for (int rows = random.between(0, 4); rows > 0; --rows) {
            table.rows.push_back({random.below(100), random.below(5000)});
            modelTable.emplace_back(table.rows.back().timeGap, table.rows.back().increment);
        }
        add(table);
        model.encoder->setTable(modelTable);
    }

    Random random;
    const bool hasPasses;
    RandomInput input;
    WorkerModel worker;
    std::uint64_t nowMs = 0;
};

class KXReplayModel : public ReplayTest {
protected:
    void playsAsTheModel(std::uint32_t seed, bool withPasses, std::uint32_t steps) {
        RandomSession random(seed, withPasses);
        for (std::uint32_t step = 0; step < steps; ++step)
            random.addEntry();
        random.finish();
        const std::vector<PlayedEvent> played = playEvents(random.session);
        const std::vector<Fields>& expected = random.model.posted;
        for (std::size_t i = 0; i < std::min(played.size(), expected.size()); ++i) {
            ASSERT_EQ(fieldsOf(played[i].event), expected[i])
                << "KX_TEST_SEED=" << seed << ", event " << i << " of line " << played[i].line;
            ++countOfType[expected[i].eventType];
        }
        EXPECT_EQ(played.size(), expected.size()) << "KX_TEST_SEED=" << seed;
    }

    void playsAsTheModel(bool withPasses) {
        for (const std::uint32_t seed : KX::test::seedsOfRun()) {
            // Short sessions, so that each starts differently. The clock makes many more passes than a session
            // with its own.
            for (std::uint32_t round = 0; round < 20 && !HasFatalFailure(); ++round)
                playsAsTheModel(seed + round, withPasses, KX::test::stepsOfSeed() / (withPasses ? 40 : 100));
        }
        if (!KX::test::isFullRun())
            return;
        for (const int type : {24, 25, 500, 501, 502, 600, 601, 605, 606, 607, 608, 700})
            EXPECT_GT(countOfType[type], 30) << "of type " << type << ": the sessions show little";
    }

    std::map<int, int> countOfType;
};

TEST_F(KXReplayModel, sessions_with_passes_are_played_as_the_model_has_it) {
    playsAsTheModel(true);
}

TEST_F(KXReplayModel, sessions_without_passes_are_played_as_the_model_has_it) {
    playsAsTheModel(false);
}

} // namespace
} // namespace Replay::test
