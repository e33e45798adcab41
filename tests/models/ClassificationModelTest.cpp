#include "CapturedOutput.h"
#include "Complaints.h"
#include "RandomInput.h"
#include "encoder/KXEncoderDynamic.h"
#include "events/KXEventQueue.h"
#include "input/KXInputEventManager.h"
#include "platform/simulated/KXSimulation.h"

#include <functional>
#include <gtest/gtest.h>

namespace KX::test {
namespace {

enum class Timers { byWorker, byHand };

class ClassificationRun {
public:
    ClassificationRun(std::uint32_t seed, Timers theTimers)
        : random(seed), timers(theTimers), input(random, model) {
        makeManager();
    }

    ~ClassificationRun() {
        KXInputEventManager::deleteInstance();
        KXSimulation::reset();
    }

    /// Empty when library and model agree.
    std::string step(std::string& operation);

    std::map<int, unsigned int> postedOfType;
    unsigned int wraps = 0;

private:
    void makeManager() {
        KXInputEventManager::deleteInstance();
        KXInputEventManager::getKXtoOSCodeMap()->clear();
        KXSimulation::reset();
        KXSimulation::setDebugLevel(0);
        now = 0U - random.below(60000);
        KXSimulation::setTick(now);
        KXSimulation::refuseThreads(timers == Timers::byHand ? 1 : 0);
        manager = KXInputEventManager::createInstance();
        model = ClassificationModel();
        model.initialize();
        isInitialized = true;
        startWorker();
    }

    void startWorker() {
        worker.isRunning = timers == Timers::byWorker;
        worker.nextPass = now + 100;
    }

    void pass(unsigned int tick) {
        model.sendLongPress(tick);
        model.sendBundle(tick);
    }

    void moveClock(unsigned int ms) {
        const unsigned int before = now;
        worker.advance(now, ms, [this](unsigned int tick) { pass(tick); });
        wraps += now < before;
    }

    using Call = std::function<int()>;

    std::string both(const Call& expectedCall, const Call& actualCall);
    std::string differences();
    std::string eventOccurs(bool isToolkitEvent, std::string& operation);
    std::string timePasses(std::string& operation);
    std::string handDrivenStep(std::string& operation);
    std::string settingChanges(std::string& operation);
    std::string encoderSettingChanges();
    std::string keysChange();
    std::string managerRestarts(std::string& operation);
    std::string eventIsPosted();

    Random random;
    Timers timers;
    ClassificationModel model;
    RandomInput input;
    WorkerModel worker;
    CapturedOutput output{STDOUT_FILENO};
    CapturedOutput error{STDERR_FILENO};
    KXInputEventManager* manager = nullptr;
    unsigned int now = 0;
    bool isInitialized = false;
};

/// Runs model and library and compares all results. Captured output takes long to read, so it is read when the
/// model expects some, and now and then.
std::string ClassificationRun::both(const Call& expectedCall, const Call& actualCall) {
    const std::string expected = outcome(expectedCall);
    const bool isCaptured = !model.standardOutput.empty() || !model.standardError.empty() || random.oneIn(64);
    std::string written;
    if (isCaptured) {
        output.begin();
        error.begin();
    }
    const std::string actual = outcome(actualCall);
    if (isCaptured) {
        written = error.end();
        written += output.end();
    }
    const std::string expectedWritten = model.standardError + model.standardOutput;
    model.standardError.clear();
    model.standardOutput.clear();
    return complaint("status", expected, actual) + complaint("output", expectedWritten, written) + differences();
}

std::string ClassificationRun::differences() {
    std::vector<Fields> posted;
    while (manager->hasEvents())
        posted.push_back(fieldsOf(manager->getNextEvent()));
    std::string result;
    if (posted != model.posted)
        result = complaint("posted", printed(model.posted), printed(posted));
    if (random.oneIn(64)) // from an empty or a missing queue
        result += complaint("next event type", "0", std::to_string(manager->getNextEvent().eventType));
    for (const auto& event : posted)
        ++postedOfType[event.eventType];
    model.posted.clear();
    return result;
}

std::string ClassificationRun::eventOccurs(bool isToolkitEvent, std::string& operation) {
    PlainEvent event = isToolkitEvent ? input.toolkitEvent(now) : input.inputEvent(now);
    operation = (isToolkitEvent ? "toolkit event of object class " : "input event of object class ") +
                std::to_string(event.objectClass) + " at tick " + std::to_string(now) + ", " +
                printed(event.fields);
    const auto object = objectOf(event, random.oneIn(2));
    auto& real = dynamic_cast<KXInputEvent&>(*object);
    const std::string result =
        both([&] { return isToolkitEvent ? model.toolkitEvent(event) : model.inputEvent(event); },
             [&] {
                 return isToolkitEvent ? manager->toolkitEventOccurred(dynamic_cast<KXToolkitEvent&>(real))
                                       : manager->inputEventOccurred(real);
             });
    event.fields.signalData = {}; // an input event does not have these two
    event.fields.sourceClass = 0;
    return result + complaint("the event afterwards", printed(event.fields), printed(fieldsOf(real)));
}

std::string ClassificationRun::timePasses(std::string& operation) {
    const unsigned int ms = input.gap(now);
    const bool isJump = random.oneIn(40); // the clock is set, and the worker is late
    operation = std::to_string(ms) + " ms pass after tick " + std::to_string(now);
    std::string result = both(
        [&] {
            const unsigned int jump = isJump ? random.below(500) : 0;
            wraps += now + jump < now;
            now += jump;
            KXSimulation::setTick(now);
            moveClock(ms);
            return 0;
        },
        [&] { return KXSimulation::advance(ms), 0; });
    if (timers == Timers::byHand || !random.oneIn(2))
        return result;

    const bool isLockRefused = random.oneIn(20);
    operation += isLockRefused ? ", a pass that gets no lock" : ", a pass";
    return result + both(
                        [&] {
                            if (worker.isRunning && !isLockRefused)
                                pass(now);
                            worker.nextPass = now + 100;
                            return 0;
                        },
                        [&] {
                            KXSimulation::failMutexLocks(isLockRefused ? 1 : 0);
                            KXSimulation::endWaits();
                            KXSimulation::failMutexLocks(0);
                            return 0;
                        });
}

/// The steps one by one, for a program with a clock of its own and no worker.
std::string ClassificationRun::handDrivenStep(std::string& operation) {
    const unsigned int tick = input.tickForTimers(now);
    const unsigned int which = random.below(10);
    if (which < 3) {
        operation = "sendLongPressEvent(" + std::to_string(tick) + ")";
        return both([&] { return model.sendLongPress(tick), 0; },
                    [&] { return manager->sendLongPressEvent(tick); });
    }
    if (which < 6) {
        operation = "sendEncoderMoveEvent(" + std::to_string(tick) + ")";
        return both([&] { return model.sendBundle(tick), 0; },
                    [&] { return manager->sendEncoderMoveEvent(tick); });
    }
    PlainEvent event = input.inputEvent(now);
    operation = "single step " + std::to_string(which) + " with " + printed(event.fields);
    const auto object = objectOf(event, false);
    auto& real = dynamic_cast<KXInputEvent&>(*object);
    const std::string result = both(
        [&] {
            switch (which) {
            case 6: return model.convertToEncoder(event.fields);
            case 7: return model.bundleStep(event.fields);
            case 8: return model.convertToDoublePress(event.fields), 0;
            default: return model.markLongPress(event.fields), 0;
            }
        },
        [&] {
            switch (which) {
            case 6: return manager->convertToEncoderEvents(real);
            case 7: return manager->bundleKeyEncoderEvents(real);
            case 8: return manager->convertToDoublePressEvent(real);
            default: return manager->markPossibleLongPress(real);
            }
        });
    event.fields.signalData = {};
    event.fields.sourceClass = 0;
    return result + complaint("the event afterwards", printed(event.fields), printed(fieldsOf(real)));
}

std::string ClassificationRun::settingChanges(std::string& operation) {
    const unsigned int ms = input.duration();
    const bool isYes = random.oneIn(2);
    switch (random.below(8)) {
    case 0:
    case 1:
        operation = "setDoubleKeyPressDuration(" + std::to_string(ms) + ")";
        return both([&] { return model.setDoublePress(ms); },
                    [&] { return manager->setDoubleKeyPressDuration(ms); });
    case 2:
    case 3:
        operation = "setLongKeyPressDuration(" + std::to_string(ms) + ")";
        return both([&] { return model.setLongPress(ms); }, [&] { return manager->setLongKeyPressDuration(ms); });
    case 4:
        operation = "acceptInput";
        model.acceptsInput = !random.oneIn(4);
        return both([] { return 0; }, [&] { return manager->acceptInput(model.acceptsInput); });
    case 5: operation = "keys change"; return keysChange();
    case 6: operation = "encoder settings change"; return encoderSettingChanges();
    default:
        operation = "postESCtoEventQueue";
        return both([&] { return model.postEscape(isYes), 0; },
                    [&] { return manager->postESCtoEventQueue(isYes); }) +
               eventIsPosted();
    }
}

std::string ClassificationRun::encoderSettingChanges() {
    if (!isInitialized) // asking for the encoder would make one
        return "";
    const int lowPass = random.oneOf({1, 500, 900, 1000, 1001});
    const int user = random.oneOf({0, 1, 1000, 2500});
    auto* encoder = KXEncoderDynamic::instance();
    return both([&] { return model.encoder->setLowPassFactor(lowPass) + model.encoder->setUserFactor(user); },
                [&] { return encoder->setLowPassFactor(lowPass) + encoder->setUserFactor(user); });
}

std::string ClassificationRun::keysChange() {
    manager->setKeyboardLayout(random.between(0, 3));
    std::string result;
    if (random.oneIn(4)) {
        model.setDefaultKeys();
        manager->initializeOSCodeToKXCodeMap();
    } else {
        const auto mapping = input.keyMapping();
        result = both([&] { return model.setKeys(mapping), 0; }, [&] { return manager->setKeyMapping(mapping); });
    }
    if (*KXInputEventManager::getKXtoOSCodeMap() != model.toolkitKeyOfKey)
        result += "\n  the table from key codes to toolkit codes is not the one expected";
    return result;
}

std::string ClassificationRun::eventIsPosted() {
    const PlainEvent event = randomEvent(random);
    const auto object = objectOf(event, random.oneIn(2));
    return both([&] { return model.post(event), 0; }, [&] { return manager->postToEventQueue(*object); });
}

/// deinitialize and initialize, with input in between, without a queue and an encoder; or one call too many.
std::string ClassificationRun::managerRestarts(std::string& operation) {
    if (isInitialized && random.oneIn(2)) {
        operation = "deinitialize";
        return both(
            [&] {
                if (worker.isRunning) // the worker checks stopThread at the start of a pass
                    pass(now);
                worker.isRunning = false;
                model.deinitialize();
                isInitialized = false;
                return 0;
            },
            [&] { return manager->deinitialize(), manager->deinitialize(), 0; });
    }
    operation = isInitialized ? "initialize once more" : "initialize";
    KXSimulation::refuseThreads(timers == Timers::byHand ? 1 : 0);
    const bool isNeeded = !isInitialized;
    isInitialized = true;
    return both(
        [&] {
            model.initialize();
            if (isNeeded)
                startWorker();
            return 0;
        },
        [&] { return manager->initialize(); });
}

std::string ClassificationRun::step(std::string& operation) {
    if (random.oneIn(1000)) {
        operation = "new manager";
        makeManager();
        return differences();
    }
    if (random.oneIn(isInitialized ? 1000 : 20))
        return managerRestarts(operation);
    const unsigned int which = random.below(100);
    if (which < 3)
        return settingChanges(operation);
    if (which < 35)
        return timePasses(operation);
    if (which < 50 && timers == Timers::byHand)
        return handDrivenStep(operation);
    return eventOccurs(which < 80, operation);
}

void runAll(Timers timers) {
    std::map<int, unsigned int> postedOfType;
    unsigned int wraps = 0;
    for (const std::uint32_t seed : seedsOfRun()) {
        ClassificationRun run(seed, timers);
        std::string operation;
        for (std::uint32_t step = 0; step < stepsOfSeed(); ++step) {
            const std::string complaints = run.step(operation);
            ASSERT_TRUE(complaints.empty()) << whereabouts(seed, step, operation) << complaints;
        }
        for (const auto& [type, count] : run.postedOfType)
            postedOfType[type] += count;
        wraps += run.wraps;
    }
    if (!isFullRun())
        return;
    for (const int type : {24, 25, 500, 501, 502, 600, 601, 602, 605, 606, 607, 608, 700, 1010, 102})
        EXPECT_GT(postedOfType[type], 100U) << "the run hardly met type " << type;
    EXPECT_GT(wraps, 10U) << "the tick hardly wrapped";
}

TEST(ClassificationModel, agreesWithTheManagerAndItsWorkerAfterEachOfManyRandomSteps) {
    runAll(Timers::byWorker);
}

TEST(ClassificationModel, agreesWithAManagerWithoutWorkerWhoseTimerStepsAreDrivenByHand) {
    runAll(Timers::byHand);
}

} // namespace
} // namespace KX::test
