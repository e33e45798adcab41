#include "input/KXInputObserver.h"

#include "encoder/EncoderObserver.h"
#include "encoder/KXEncoderDynamic.h"
#include "events/KXEventType.h"
#include "input/KXInputEventManager.h"
#include "input/Observation.h"
#include "platform/KXLocks.h"
#include "platform/KXMutex.h"

#include <utility>

namespace KX {

KXInputObserver::~KXInputObserver() = default;

std::atomic<KXInputObserver*> inputObserver{nullptr};

namespace {

// The calling thread is inside an observation, so it holds the manager's mutex.
thread_local bool isObserving = false;

// The innermost report of the calling thread, or null.
thread_local ToolkitReport* currentReport = nullptr;

// Locked during onPassDue, so that setObserver waits until it returns.
KXStdMutex passDueMutex;

} // namespace

void Observation::begin(const KXInputEventManager* manager) {
    hasBegun = true;
    if (!isObserving) {
        isObserving = isOutermost = true;
        if (manager && manager->mutex && manager->mutex->lock())
            lockedMutex = manager->mutex;
    }
    // Read again: setObserver may have replaced it before the mutex was free.
    observer = inputObserver.load(std::memory_order_acquire);
}

void Observation::end() {
    if (isOutermost)
        isObserving = false;
    if (lockedMutex)
        lockedMutex->unlock();
}

void Observation::tellInput(const KXInputEvent& event) const {
    ToolkitReport* const report = currentReport;
    if (!report || report->forwarded != &event || report->isTold)
        return observer->onInputEvent(event);
    report->isTold = true;
    observer->onToolkitEvent(report->reported);
}

ToolkitReport::ToolkitReport(const KXToolkitEvent& event)
    : forwarded(&event), reported(event), outer(currentReport) {
    currentReport = this;
}

ToolkitReport::~ToolkitReport() {
    currentReport = outer;
}

void ToolkitReport::tellUnlessTold(const KXInputEventManager* manager) {
    const Observation observation(manager);
    if (observation && !std::exchange(isTold, true))
        observation->onToolkitEvent(reported);
}

void tellPassDue() {
    if (!inputObserver.load(std::memory_order_relaxed))
        return;
    const KXLockGuard lock(passDueMutex);
    if (KXInputObserver* const observer = inputObserver.load(std::memory_order_acquire))
        observer->onPassDue();
}

// Passes the encoder's settings on: the encoder does not know the manager.
class KX_LOCAL KXInputEventManager::EncoderSettings final : public EncoderObserver {
public:
    void onUserFactor(int factor) override { tell(KXInputSetting::EncoderUserFactor, factor); }

    void onLowPassFactor(int factor) override { tell(KXInputSetting::EncoderLowPassFactor, factor); }

    void onSpeedTable(const std::vector<KXEncoderDynamicPair>& pairs) override {
        const Observation observation(theInstance);
        if (observation)
            observation->onSpeedTable(pairs);
    }

private:
    static void tell(KXInputSetting setting, int value) {
        const Observation observation(theInstance);
        if (observation)
            observation->onSetting(setting, value);
    }
};

void KXInputEventManager::setObserver(KXInputObserver* observer) {
    static EncoderSettings encoderSettings;
    const KXLockGuard noPassIsDue(passDueMutex);
    const KXInputEventManager* const manager = theInstance;
    const KXAutoLock lock(manager ? manager->mutex : nullptr);
    EncoderObserver::set(observer ? &encoderSettings : nullptr);
    inputObserver.store(observer, std::memory_order_release);
    if (!observer || !manager)
        return;
    try {
        manager->tellSettings(*observer);
    } catch (...) { // the caller cannot know that it observes, and may delete the observer
        EncoderObserver::set(nullptr);
        inputObserver = nullptr;
        throw;
    }
}

KXInputObserver* KXInputEventManager::getObserver() {
    return inputObserver.load(std::memory_order_acquire);
}

void KXInputEventManager::tellSettings(KXInputObserver& observer) const {
    const auto [doublePressMs, longPressMs] = pressDurations.load();
    // In the order that a new manager accepts, whose long-press time is the default one.
    const bool longIsFirst = doublePressMs >= defaultLongPressMs;
    if (longIsFirst)
        observer.onSetting(KXInputSetting::LongKeyPressDuration, longPressMs);
    observer.onSetting(KXInputSetting::DoubleKeyPressDuration, doublePressMs);
    if (!longIsFirst)
        observer.onSetting(KXInputSetting::LongKeyPressDuration, longPressMs);
    observer.onSetting(KXInputSetting::AcceptInput, acceptingInput);
    observer.onSetting(KXInputSetting::KeyboardLayout, keyboardLayout);
    if (encoderDynamic) {
        observer.onSetting(KXInputSetting::EncoderUserFactor, encoderDynamic->getUserFactor());
        observer.onSetting(KXInputSetting::EncoderLowPassFactor, encoderDynamic->getLowPassFactor());
        observer.onSpeedTable(encoderDynamic->getDynamicParameters());
    }
    observer.onKeyMapping(osCodeToKXCodeMap);
    if (canRemoteEndPoint)
        observer.onKeypad(canRemoteLayout);
}

// The caller is inside an observation, so its thread holds the mutex.
KXInputMemory KXInputEventManager::getMemory() KX_NO_THREAD_SAFETY_ANALYSIS {
    KXInputMemory memory;
    const KXInputEventManager* const manager = theInstance;
    if (!manager)
        return memory;
    memory.isPressPending = manager->longPressCandidate.eventType != 0;
    memory.isBundleOpen = manager->encoderBundle.eventType == ENCODER_MOVE_EVENT;
    memory.hasPress = manager->lastPressEvent.eventType != 0;
    memory.pressTimeStamp = manager->lastPressEvent.timeStamp;
    memory.doublePressMs = manager->pressDurations.load().doublePressMs;
    if (manager->encoderDynamic) {
        memory.stepTimeStamp = manager->encoderDynamic->getLastTimeStamp();
        memory.restartGapMs = manager->encoderDynamic->getRestartTimeGap();
    }
    return memory;
}

} // namespace KX
