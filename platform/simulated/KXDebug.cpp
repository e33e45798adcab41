#include "platform/KXDebug.h"

#include "platform/simulated/DebugRecord.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

namespace KX {

std::atomic<int> debugLevel{defaultDebugLevel};

DebugRecord& DebugRecord::instance() {
    static DebugRecord& record = *new DebugRecord;
    return record;
}

namespace {

std::string formatMessage(const char* format, va_list arguments) {
    va_list measured;
    va_copy(measured, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, measured);
    va_end(measured);
    if (length < 0)
        return format; // a conversion failed; the bare format says more than nothing
    std::string text(static_cast<std::size_t>(length) + 1, '\0');
    std::vsnprintf(text.data(), text.size(), format, arguments);
    text.pop_back(); // the terminating zero
    return text;
}

} // namespace

unsigned int KXDebug::insertNewDebugSection(const std::string& name) {
    auto& record = DebugRecord::instance();
    const KXLockGuard lock(record.mutex);
    const auto found = std::find(record.sections.begin(), record.sections.end(), name);
    const auto index = found - record.sections.begin();
    if (found == record.sections.end())
        record.sections.push_back(name);
    return static_cast<unsigned int>(index) + 1;
}

void KXDebug::debugPrintError(int level, unsigned int key, const char* format, ...) {
    if (level > debugLevel.load(std::memory_order_relaxed))
        return;
    va_list arguments;
    va_start(arguments, format);
    std::string text = formatMessage(format, arguments);
    va_end(arguments);

    auto& record = DebugRecord::instance();
    const KXLockGuard lock(record.mutex);
    const bool isKnown = key >= 1 && key <= record.sections.size();
    record.messages.push_back({level, isKnown ? record.sections[key - 1] : std::string(), std::move(text)});
    record.hasMessages = true;
}

} // namespace KX
