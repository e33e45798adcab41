#include "terminal/session/StepSpacing.h"

#include "events/KXEventType.h"
#include "events/KXKeyCode.h"
#include "input/KXInputEventManager.h"
#include "platform/KXTick.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace Terminal {

namespace {

constexpr int lookIntervalMs = 1;

bool isStepKeyOfToolkit(int toolkitKey) {
    const auto& toolkitKeys = *KX::KXInputEventManager::getKXtoOSCodeMap();
    return std::any_of(toolkitKeys.begin(), toolkitKeys.end(), [toolkitKey](const auto& entry) {
        return entry.second == toolkitKey && KX::isStepKey(entry.first);
    });
}

bool isWheel(const KX::KXToolkitEvent& report) {
    return report.eventType == KX::TOOLKIT_WHEEL_EVENT;
}

bool isStep(const KX::KXToolkitEvent& report) {
    return isWheel(report) ||
           (report.eventType == KX::TOOLKIT_KEY_PRESS_EVENT && isStepKeyOfToolkit(report.osKeyCode));
}

} // namespace

StepSpacing::StepSpacing(std::function<void(KX::KXToolkitEvent&)> pass) : passToManager(std::move(pass)) {
    timer.setTimerType(Qt::PreciseTimer);
    timer.setInterval(lookIntervalMs);
    timer.callOnTimeout([this] { passDue(); });
}

void StepSpacing::take(const KX::KXToolkitEvent& report) {
    if (waiting.empty() && !isTooEarly(report)) {
        passOn(report);
    } else if (!joinsLast(report)) {
        waiting.push_back(report);
        timer.start();
    }
}

bool StepSpacing::isHolding() const {
    return !waiting.empty();
}

// A turn of the wheel that has a millisecond of its own is on time.
bool StepSpacing::isTooEarly(const KX::KXToolkitEvent& report) const {
    if (!lastStepTick || !isStep(report))
        return false;
    const auto gapMs = static_cast<std::int32_t>(report.timeStamp - *lastStepTick);
    return gapMs <= 0 || (!isWheel(report) && static_cast<unsigned int>(gapMs) < leastGapMs);
}

bool StepSpacing::joinsLast(const KX::KXToolkitEvent& report) {
    if (waiting.empty() || !isWheel(report) || !isWheel(waiting.back()) ||
        waiting.back().keyCode != report.keyCode)
        return false;
    waiting.back().count += report.count;
    return true;
}

void StepSpacing::passOn(KX::KXToolkitEvent report) {
    if (isStep(report))
        lastStepTick = report.timeStamp;
    passToManager(report);
}

// A step that had to wait happens now.
void StepSpacing::passDue() {
    while (!waiting.empty()) {
        KX::KXToolkitEvent& next = waiting.front();
        if (isStep(next))
            next.timeStamp = KX::KXTick::getTickCount();
        if (isTooEarly(next))
            return;
        const KX::KXToolkitEvent due = next;
        waiting.pop_front();
        passOn(due);
    }
    timer.stop();
}

} // namespace Terminal
