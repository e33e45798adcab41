#include "tools/kxreplay/Summary.h"

#include "tools/kxreplay/EventOutput.h"

#include <algorithm>
#include <vector>

namespace Replay {

namespace {

using Call = ClosestCalls::Call;

std::string ms(unsigned int number) {
    return std::to_string(number) + " ms";
}

std::string whereOf(const Call& call) {
    return "  line " + std::to_string(call.line) + ", tick " + std::to_string(call.event.timeStamp) + ": ";
}

std::string distanceText(const Call& call) {
    const std::string limit = "the limit of " + ms(call.limitMs);
    if (call.distanceMs() == 0)
        return "just at " + limit;
    return ms(call.distanceMs()) + (call.tookMs < call.limitMs ? " below " : " above ") + limit;
}

std::string describeDoublePress(const Call& call) {
    return whereOf(call) + "second press of " + nameKey(call.event) + " " + ms(call.tookMs) +
           " after the first, " + distanceText(call) + ": " +
           (call.reached ? "taken for a double press (" : "taken for a single press (") +
           KX::translateEventTypeToString(call.event.eventType) + ")";
}

std::string describeLongPress(const Call& call) {
    std::string text = whereOf(call) + nameKey(call.event) + " released " + ms(call.tookMs) +
                       " after its press, " + distanceText(call) + ": ";
    if (call.reached)
        text += "taken for a long press by the worker's pass after " + ms(call.longAfterMs);
    else if (call.tookMs >= call.limitMs)
        text += "not taken for a long press because the worker made no pass in between";
    else
        text += "not taken for a long press";
    return text;
}

std::string describeLate(const Call& call) {
    return whereOf(call) + nameKey(call.event) + " taken for a long press only " + ms(call.tookMs) +
           " after its press, " + distanceText(call) + ", because the worker made no pass before";
}

using Describe = std::string (*)(const Call&);

std::string listCalls(const std::string& title, const std::vector<Call>& calls, Describe describe) {
    std::string text = "\n" + title + "\n";
    for (const Call& call : calls)
        text += describe(call) + "\n";
    return text + (calls.empty() ? "  none\n" : "");
}

std::string jsonField(const char* name, unsigned long long number) {
    return std::string(",\"") + name + "\":" + std::to_string(number);
}

std::string listAsJSON(const char* what, const std::vector<Call>& calls) {
    std::string text;
    for (const Call& call : calls) {
        text += std::string("{\"is\":\"") + what + "\"" + jsonField("line", call.line) +
                jsonField("ms", call.tookMs) + jsonField("limit", call.limitMs) +
                ",\"reached\":" + (call.reached ? "true" : "false") + ",\"event\":" + toJSON(call.event) + "}\n";
    }
    return text;
}

std::string withSeconds(std::uint64_t durationMs) {
    const std::string thousandths = std::to_string(durationMs % 1000 + 1000).substr(1);
    return std::to_string(durationMs / 1000) + "." + thousandths + " s";
}

} // namespace

Summary::Summary(const KX::Recording::SessionFacts& facts) : inputs(facts) {}

void Summary::take(const PlayedEvent& played) {
    ++eventCount;
    ++countOfType[played.event.eventType];
    closest.take(played);
}

std::string Summary::describeInputs() const {
    std::vector<std::string> parts;
    const auto add = [&parts](std::size_t number, const char* one, const char* more) {
        if (number != 0)
            parts.push_back(std::to_string(number) + " " + (number == 1 ? one : more));
    };
    add(inputs.toolkitEvents, "toolkit event", "toolkit events");
    add(inputs.frames, "CAN frame", "CAN frames");
    add(inputs.passes, "pass of the worker", "passes of the worker");
    std::string text = parts.empty() ? "no input" : parts.front();
    for (std::size_t i = 1; i < parts.size(); ++i)
        text += (i + 1 == parts.size() ? " and " : ", ") + parts[i];
    return text;
}

std::string Summary::toText() const {
    std::string text = describeInputs() + " in " + withSeconds(inputs.lastMs - inputs.firstMs) + " gave ";
    if (eventCount == 0)
        text += "no classified events\n";
    else
        text += std::to_string(eventCount) + (eventCount == 1 ? " classified event:\n" : " classified events:\n");
    for (const auto& [type, number] : countOfType) {
        const std::string digits = std::to_string(number);
        text += std::string(8 - std::min<std::size_t>(digits.size(), 8), ' ') + digits + "  " +
                KX::translateEventTypeToString(type) + "\n";
    }
    text += listCalls("Near the limit of a double press:", closest.doublePresses(), &describeDoublePress);
    text += listCalls("Near the limit of a long press:", closest.longPresses(), &describeLongPress);
    const std::vector<Call> lates = closest.lateLongPresses();
    return lates.empty() ? text : text + listCalls("Late long presses:", lates, &describeLate);
}

std::string Summary::toJSON() const {
    std::string text = "{\"is\":\"session\"" + jsonField("toolkitEvents", inputs.toolkitEvents) +
                       jsonField("frames", inputs.frames) + jsonField("passes", inputs.passes) +
                       jsonField("ms", inputs.lastMs - inputs.firstMs) + jsonField("events", eventCount) + "}\n";
    for (const auto& [type, number] : countOfType) {
        text += "{\"is\":\"count\",\"type\":" + std::to_string(type) + ",\"name\":\"" +
                KX::translateEventTypeToString(type) + "\"" + jsonField("count", number) + "}\n";
    }
    return text + listAsJSON("double press", closest.doublePresses()) +
           listAsJSON("long press", closest.longPresses()) +
           listAsJSON("late long press", closest.lateLongPresses());
}

} // namespace Replay
