#include "EncoderModel.h"
#include "RandomRun.h"
#include "encoder/KXEncoderDynamic.h"
#include "platform/simulated/KXSimulation.h"

#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <sstream>

namespace KX::test {
namespace {

KXInputEvent eventOf(const Fields& fields) {
    KXInputEvent event;
    event.eventClass = fields.eventClass;
    event.eventType = fields.eventType;
    event.timeStamp = fields.timeStamp;
    event.value = fields.value;
    event.count = fields.count;
    event.keyCode = fields.keyCode;
    return event;
}

class EncoderRun {
public:
    explicit EncoderRun(std::uint32_t seed) : random(seed) {
        KXSimulation::takeDebugMessages();
        makeEncoder();
    }

    /// Empty when library and model agree.
    std::string step(std::string& operation) {
        switch (random.below(60)) {
        case 0: return setTable(operation) + state();
        case 1: return setFactors(operation) + state();
        case 2:
            operation = "initialize";
            if (random.oneIn(4)) {
                model.initialize();
                encoder->initialize();
            }
            return state();
        case 3:
            operation = "new encoder";
            if (random.oneIn(4))
                makeEncoder();
            return state();
        default: return calculate(operation) + state();
        }
    }

    unsigned int accelerated = 0;
    unsigned int restarted = 0;
    unsigned int backwards = 0;

private:
    /// The singleton, or an object before initialize.
    void makeEncoder() {
        encoder.reset();
        isSingleton = !random.oneIn(4);
        if (!isSingleton) {
            encoder = std::make_unique<KXEncoderDynamic>();
            model = EncoderModel();
        } else {
            encoder.reset(KXEncoderDynamic::instance());
            model = EncoderModel::initialized();
        }
    }

    EncoderModel::Table randomTable() {
        EncoderModel::Table table(random.oneOf({0U, 1U, 2U, 3U, 7U, 8U}));
        unsigned int gap = random.below(5);
        for (auto& [rowGap, rowIncrement] : table) {
            rowGap = gap;
            rowIncrement = random.oneOf({0U, 1U, 4U, 1024U, 4294967U, 0xFFFFFFFFU, random.word()});
            gap += random.oneOf({1U, 2U, 10U, 50U, 50U, 10U, random.oneIn(8) ? 0U : 3U});
        }
        if (!table.empty() && random.oneIn(3))
            table.back().first =
                random.oneOf({0U, 0x7FFFFFFFU, 0x80000000U, 0x80000010U, 0xFFFFFFFFU, random.word()});
        return table;
    }

    std::string setTable(std::string& operation) {
        const EncoderModel::Table table = randomTable();
        std::vector<KXEncoderDynamicPair> pairs;
        for (const auto& [gap, increment] : table)
            pairs.push_back({gap, increment});
        operation = "set table of " + std::to_string(pairs.size());
        return compared("status", encoder->setDynamicParameters(pairs), model.setTable(table));
    }

    std::string setFactors(std::string& operation) {
        constexpr int most = std::numeric_limits<int>::max();
        constexpr int least = std::numeric_limits<int>::min();
        const int lowPass = random.oneOf({0, 1, 2, 500, 900, 999, 1000, 1001, -1, most, least});
        const int user = random.oneOf({0, 1, 2, 999, 1000, 1001, 4294967, 4294968, -1, most, least});
        operation = "set factors " + std::to_string(lowPass) + ", " + std::to_string(user);
        return compared("low-pass status", encoder->setLowPassFactor(lowPass), model.setLowPassFactor(lowPass)) +
               compared("user status", encoder->setUserFactor(user), model.setUserFactor(user));
    }

    unsigned int randomTimeStamp() {
        const auto last = static_cast<unsigned int>(model.lastTimeStamp);
        const auto limit = static_cast<unsigned int>(model.maxTimeGap);
        if (random.oneIn(8)) // gaps about the limit, backwards, from one end of the range to the other
            return random.oneOf({last, last - 1, last - random.below(300), last + limit - 1, last + limit,
                                 last + limit + 1, 0U, 1U, 0xFFFFFFFFU, 0xFFFFFFF0U, random.word()});
        return last + (random.oneIn(2) ? random.below(12) : random.below(250));
    }

    Fields randomStep() {
        Fields step;
        step.eventClass = 3;
        step.eventType = random.oneIn(40) ? random.oneOf({0, 24, 206, 699, 701, -700}) : 700;
        step.timeStamp = randomTimeStamp();
        step.count = random.oneIn(8) ? random.oddInt() : random.oneOf({0, 1, 1, 1, 2, 3, 10});
        step.value = random.oddInt();
        step.keyCode = 4;
        return step;
    }

    std::string calculate(std::string& operation) {
        Fields step = randomStep();
        Fields bundle;
        bundle.value = random.oneOf({0, 1, random.anyInt(), std::numeric_limits<int>::max()});
        KXInputEvent realStep = eventOf(step);
        KXInputEvent realBundle = eventOf(bundle);
        const bool isSame = random.oneIn(3);
        std::ostringstream told;
        told << "step " << step << (isSame ? " as its own bundle" : " into another");
        operation = told.str();

        const bool isRest = model.lastTimeStamp < step.timeStamp;
        const int expected = model.calculate(step, isSame ? step : bundle);
        const int actual = encoder->calculateIncrement(realStep, isSame ? realStep : realBundle);
        accelerated += expected == 0 && model.increment > 1;
        restarted += expected == 0 && isRest && model.timeGap == model.maxTimeGap;
        backwards += expected == 1;
        return compared("status", actual, expected) + compared("step", fieldsOf(realStep), step) +
               compared("bundle", fieldsOf(realBundle), bundle) + messages(expected == 1);
    }

    static std::string messages(bool isOneExpected) {
        const auto said = KXSimulation::takeDebugMessages();
        const bool isRight =
            isOneExpected ? said.size() == 1 && said[0].level == 1 && said[0].section == "kx_encoder_dynamic" &&
                                said[0].text == "Can not calculate encoder dynamics for negative time gap."
                          : said.empty();
        if (isRight)
            return "";
        return "\n  " + std::to_string(said.size()) + " debug messages, the first: '" +
               (said.empty() ? "" : said[0].text) + "'";
    }

    template<class Value>
    static std::string compared(const char* what, const Value& actual, const Value& expected) {
        if (actual == expected)
            return "";
        std::ostringstream out;
        out << "\n  " << what << " expected " << expected << "\n  actual " << actual;
        return out.str();
    }

    std::string state() const {
        const auto pairs = encoder->getDynamicParameters();
        bool isSameTable = pairs.size() == model.table.size();
        for (std::size_t i = 0; isSameTable && i < pairs.size(); ++i)
            isSameTable = pairs[i].timeGap == model.table[i].first && pairs[i].increment == model.table[i].second;
        return compared("time gap", encoder->getTimeGap(), static_cast<int>(model.timeGap)) +
               compared("last time stamp", encoder->getLastTimeStamp(), model.lastTimeStamp) +
               compared("low-pass factor", encoder->getLowPassFactor(), static_cast<int>(model.lowPassFactor)) +
               compared("user factor", encoder->getUserFactor(), static_cast<int>(model.userFactor)) +
               (isSameTable ? "" : "\n  the table is not the one expected") +
               (isSingleton && KXEncoderDynamic::instance() != encoder.get() ? "\n  there are two encoders" : "");
    }

    Random random;
    EncoderModel model;
    std::unique_ptr<KXEncoderDynamic> encoder;
    bool isSingleton = false;
};

TEST(EncoderModel, agreesWithWideArithmeticAfterEachOfManyRandomSteps) {
    unsigned int accelerated = 0;
    unsigned int restarted = 0;
    unsigned int backwards = 0;
    for (const std::uint32_t seed : seedsOfRun()) {
        EncoderRun run(seed);
        std::string operation;
        for (std::uint32_t step = 0; step < stepsOfSeed(); ++step) {
            const std::string complaint = run.step(operation);
            ASSERT_TRUE(complaint.empty()) << whereabouts(seed, step, operation) << complaint;
        }
        accelerated += run.accelerated;
        restarted += run.restarted;
        backwards += run.backwards;
    }
    if (isFullRun()) {
        EXPECT_GT(accelerated, 10000U) << "the run hardly accelerated";
        EXPECT_GT(restarted, 1000U) << "the run hardly came from rest";
        EXPECT_GT(backwards, 1000U) << "the run hardly went backwards";
    }
}

} // namespace
} // namespace KX::test
