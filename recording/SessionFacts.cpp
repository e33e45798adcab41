#include "recording/KXSessionFacts.h"

#include <algorithm>

namespace KX::Recording {

SessionFacts::SessionFacts(const Session& session) : isPlainLog(session.isPlainLog) {
    for (const Entry& entry : session.entries)
        add(entry);
    hasPasses = session.hasPasses;
}

void SessionFacts::add(const Entry& entry) {
    if (entries++ == 0)
        firstMs = lastInputMs = entry.timeMs;
    lastMs = entry.timeMs;
    const bool isToolkitEvent = std::holds_alternative<KXToolkitEvent>(entry.input);
    const bool isInputEvent = std::holds_alternative<KXInputEvent>(entry.input);
    const bool isFrame = std::holds_alternative<Frame>(entry.input);
    const bool isPass = std::holds_alternative<Pass>(entry.input);
    toolkitEvents += isToolkitEvent ? 1 : 0;
    frames += isFrame ? 1 : 0;
    passes += isPass ? 1 : 0;
    hasPasses = hasPasses || isPass;
    if (isToolkitEvent || isInputEvent || isFrame)
        lastInputMs = entry.timeMs;
    isHeadOver = isHeadOver || isToolkitEvent || isInputEvent || std::holds_alternative<Post>(entry.input);
    if (const auto* const setting = std::get_if<NumberSetting>(&entry.input))
        add(*setting);
}

void SessionFacts::add(const NumberSetting& setting) {
    const bool isDoublePress = setting.name == KXInputSetting::DoubleKeyPressDuration;
    const bool isLongPress = setting.name == KXInputSetting::LongKeyPressDuration;
    if (isLongPress)
        greatestLongPressMs = std::max(greatestLongPressMs, setting.value);
    if (isHeadOver)
        return;
    if (isDoublePress && !doublePressAtHeadMs)
        doublePressAtHeadMs = setting.value;
    if (isLongPress && !longPressAtHeadMs)
        longPressAtHeadMs = setting.value;
}

} // namespace KX::Recording
