#include "encoder/KXEncoderDynamic.h"

#include "encoder/EncoderObserver.h"
#include "events/KXEventType.h"
#include "platform/KXDebug.h"
#include "platform/KXStatus.h"

#include <atomic>
#include <iterator>
#include <memory>

namespace KX {

const int DEFAULT_TIME_GAPS[7] = {2, 8, 12, 20, 35, 55, 100};
const int DEFAULT_INCREMENTS[7] = {4096, 1024, 256, 64, 16, 4, 1};

namespace {

constexpr unsigned int restartedIncrement = 1;
constexpr unsigned int thousandths = 1000;

std::atomic<EncoderObserver*> encoderObserver{nullptr};

void reportError(const char* text) {
    constexpr int errorLevel = 1;
    KXDebug::debugPrintError(errorLevel, KXEncoderDynamic::debugSection, "%s", text);
}

bool timeGapsRise(const std::vector<KXEncoderDynamicPair>& pairs) {
    for (std::size_t i = 1; i < pairs.size(); ++i)
        if (pairs[i].timeGap <= pairs[i - 1].timeGap)
            return false;
    return true;
}

// The mean of two step times. The sum may wrap; it always has.
unsigned int meanTimeGap(unsigned int first, unsigned int second) {
    return 500U * (first + second) / thousandths;
}

} // namespace

void EncoderObserver::set(EncoderObserver* observer) {
    encoderObserver = observer;
}

const unsigned int KXEncoderDynamic::debugSection = KXDebug::insertNewDebugSection("kx_encoder_dynamic");
KXEncoderDynamic* KXEncoderDynamic::theInstance = nullptr;

KXEncoderDynamic* KXEncoderDynamic::instance() {
    if (theInstance)
        return theInstance;
    auto made = std::make_unique<KXEncoderDynamic>();
    theInstance = made.get(); // for an observer; the destructor takes it back
    if (made->initialize() == STATUS_OK)
        return made.release();
    reportError("Initializing encoder dynamics failed.");
    return nullptr;
}

KXEncoderDynamic::KXEncoderDynamic()
    : userFactor(1000), dynamicParameters(10, KXEncoderDynamicPair{0, 0}), lowPassFactor(500), timeGap(100),
      increment(restartedIncrement), maxTimeGap(10), lastTimeStamp(0) {}

KXEncoderDynamic::~KXEncoderDynamic() {
    theInstance = nullptr;
}

int KXEncoderDynamic::initialize() {
    std::vector<KXEncoderDynamicPair> pairs(std::size(DEFAULT_TIME_GAPS));
    for (std::size_t i = 0; i < pairs.size(); ++i)
        pairs[i] = {static_cast<unsigned int>(DEFAULT_TIME_GAPS[i]),
                    static_cast<unsigned int>(DEFAULT_INCREMENTS[i])};
    setDynamicParameters(pairs); // and maxTimeGap, to twice the last gap
    setLowPassFactor(900);
    setUserFactor(1000);
    lastTimeStamp = 0;
    increment = restartedIncrement;
    timeGap = 200;
    return STATUS_OK;
}

int KXEncoderDynamic::setDynamicParameters(const std::vector<KXEncoderDynamicPair>& pairs) {
    std::vector<KXEncoderDynamicPair> table(pairs); // first: nothing changes if memory is lacking
    if (EncoderObserver* const observer = encoderObserver)
        observer->onSpeedTable(pairs);
    // Before the check on purpose: terminals in the field rely on this effect of a refused table.
    maxTimeGap = 500;
    if (!timeGapsRise(table))
        return STATUS_TABLE_NOT_RISING;
    if (table.size() >= 2)
        maxTimeGap = 2 * table.back().timeGap;
    dynamicParameters.swap(table);
    return STATUS_OK;
}

std::vector<KXEncoderDynamicPair> KXEncoderDynamic::getDynamicParameters() const {
    return dynamicParameters;
}

int KXEncoderDynamic::setLowPassFactor(int factor) {
    if (EncoderObserver* const observer = encoderObserver)
        observer->onLowPassFactor(factor);
    if (factor < 1 || factor > 1000)
        return STATUS_OUT_OF_RANGE;
    lowPassFactor = factor;
    return STATUS_OK;
}

int KXEncoderDynamic::getLowPassFactor() const {
    return lowPassFactor;
}

int KXEncoderDynamic::setUserFactor(int factor) {
    if (EncoderObserver* const observer = encoderObserver)
        observer->onUserFactor(factor);
    if (factor <= 0)
        return STATUS_OUT_OF_RANGE;
    userFactor = factor;
    return STATUS_OK;
}

int KXEncoderDynamic::getUserFactor() const {
    return userFactor;
}

int KXEncoderDynamic::getTimeGap() const {
    return timeGap;
}

unsigned int KXEncoderDynamic::getRestartTimeGap() const {
    return maxTimeGap;
}

std::uint64_t KXEncoderDynamic::getLastTimeStamp() const {
    return lastTimeStamp;
}

int KXEncoderDynamic::calculateIncrement(KXInputEvent& step, KXInputEvent& bundle) {
    if (step.eventType != ENCODER_MOVE_EVENT)
        return STATUS_NOT_AN_ENCODER_EVENT;
    if (lastTimeStamp >= step.timeStamp) {
        reportError("Can not calculate encoder dynamics for negative time gap.");
        lastTimeStamp = step.timeStamp;
        return STATUS_TIME_GAP_NOT_POSITIVE;
    }
    if (step.count == 0)
        step.count = 1;

    const auto stepCount = static_cast<unsigned int>(step.count);
    const unsigned int elapsed = step.timeStamp - static_cast<unsigned int>(lastTimeStamp);
    smoothTimeGap(elapsed / stepCount);
    increment = static_cast<int>(smoothIncrement(stepCount));
    bundle.value =
        static_cast<int>(static_cast<unsigned int>(bundle.value) + static_cast<unsigned int>(increment));
    lastTimeStamp = step.timeStamp;
    return STATUS_OK;
}

void KXEncoderDynamic::smoothTimeGap(unsigned int gap) {
    if (gap <= maxTimeGap) {
        timeGap = static_cast<int>(meanTimeGap(gap, static_cast<unsigned int>(timeGap)));
        return;
    }
    // The encoder was at rest, so the last turn no longer counts.
    timeGap = static_cast<int>(meanTimeGap(maxTimeGap, maxTimeGap));
    increment = restartedIncrement;
}

unsigned int KXEncoderDynamic::targetIncrement() const {
    for (const KXEncoderDynamicPair& pair : dynamicParameters)
        if (pair.timeGap > static_cast<unsigned int>(timeGap))
            return pair.increment;
    return restartedIncrement;
}

unsigned int KXEncoderDynamic::smoothIncrement(unsigned int stepCount) const {
    const auto newWeight = static_cast<unsigned int>(lowPassFactor);
    const unsigned int previous = static_cast<unsigned int>(increment) * (thousandths - newWeight);
    const unsigned int target = targetIncrement() * stepCount * newWeight;
    const unsigned int smoothed = (previous + target) / thousandths;
    const unsigned int result = static_cast<unsigned int>(userFactor) * smoothed / thousandths;
    return result == 0 ? 1 : result;
}

} // namespace KX
