#pragma once

#include "EncoderModel.h"
#include "HolderModel.h"

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <typeinfo>
#include <vector>

namespace KX::test {

/// The manager's classification, with plain structs and a clock as a parameter.
struct ClassificationModel {
    bool acceptsInput = true;
    bool hasQueue = true;
    std::uint32_t doublePressMs = 300;
    std::uint32_t longPressMs = 2000;
    std::optional<EncoderModel> encoder = EncoderModel::initialized();
    std::map<int, int> keyOfToolkitKey;
    std::map<int, int> toolkitKeyOfKey;
    Fields lastPress;
    Fields candidate;
    Fields bundle;

    // Posted since the last comparison.
    std::vector<Fields> posted;
    std::string standardOutput;
    std::string standardError;

    void initialize() {
        acceptsInput = true;
        setDoublePress(300);
        setLongPress(2000);
        if (!encoder)
            encoder = EncoderModel::initialized();
        hasQueue = true;
        setDefaultKeys();
    }

    void deinitialize() {
        encoder.reset();
        hasQueue = false;
        posted.clear(); // events not taken are lost
    }

    int setDoublePress(std::uint32_t ms) {
        if (ms >= longPressMs)
            return 20;
        doublePressMs = ms;
        return 0;
    }

    int setLongPress(std::uint32_t ms) {
        if (ms <= doublePressMs)
            return 20;
        longPressMs = ms;
        return 0;
    }

    void setKeys(const std::map<int, int>& mapping) {
        for (const auto& [toolkitKey, key] : mapping) {
            keyOfToolkitKey[toolkitKey] = key;
            toolkitKeyOfKey[key] = toolkitKey;
        }
    }

    void setDefaultKeys() {
        setKeys({{0x01000000, 0},
                 {0x01000010, 1},
                 {0x01000001, 2},
                 {0x01000004, 3},
                 {0x01000013, 4},
                 {0x01000015, 5},
                 {0x01000011, 6}});
    }

    int toolkitEvent(PlainEvent& event) {
        Fields& fields = event.fields;
        static const std::map<int, int> forwarded = {{200, 600}, {201, 601}, {203, 602}, {206, 700}, {207, 1010},
                                                     {208, 608}, {300, 24},  {301, 25},  {102, 102}};
        const int type = fields.eventType;
        const auto found = forwarded.find(type);
        if (found == forwarded.end()) {
            if (type != 202 && type != 204 && type != 205 && type != 302 && type != 303)
                standardError += "KXInputEventManager::toolkitEventOccurred(): got unknown input event: " +
                                 std::to_string(type) + "\n";
            return 20;
        }
        fields.eventType = found->second;
        fields.eventClass = 3;
        if (type == 300 || type == 301) {
            const auto key = keyOfToolkitKey.find(fields.osKeyCode);
            fields.keyCode = key == keyOfToolkitKey.end() ? 65535 : key->second;
        }
        return inputEvent(event);
    }

    int inputEvent(PlainEvent& event) {
        if (!acceptsInput) {
            standardOutput += "KXInputEventManager::inputEventOccurred: Input IGNORED.\n";
            return 0;
        }
        if (const int status = convertToEncoder(event.fields))
            return status;
        convertToDoublePress(event.fields);
        markLongPress(event.fields);
        post(event);
        return 0;
    }

    /// \throws std::bad_cast
    void post(const PlainEvent& event) {
        if (!hasQueue)
            return;
        auto holder = holderOf(event, standardError);
        if (!holder)
            throw std::bad_cast();
        holder->sourceClass = 0; // an input event does not have these two
        holder->signalData = {};
        posted.push_back(*holder);
    }

    void postEscape(bool isPressed) {
        Fields escape;
        escape.eventClass = 3;
        escape.eventType = isPressed ? 24 : 25;
        escape.value = -1;
        escape.keyCode = 0;
        escape.osKeyCode = 65535;
        post({3, escape});
    }

    int convertToEncoder(Fields& event) {
        if (event.eventType == 700) {
            if (encoder) {
                event.value = 0;
                encoder->calculate(event, event);
            }
            return 0;
        }
        if (event.eventType != 24 && event.eventType != 25)
            return 0;
        if (event.keyCode == 3)
            flushBundle();
        if (event.keyCode != 4 && event.keyCode != 5)
            return 0;
        if (event.eventType == 25)
            return 11;
        event.eventType = 700;
        event.count = 1;
        event.value = 1;
        return bundleStep(event);
    }

    void flushBundle() {
        if (bundle.eventType == 0)
            return;
        if (bundle.count != 0)
            post({3, bundle});
        bundle.count = 0;
        bundle.eventType = 0;
    }

    int bundleStep(Fields& step) {
        if (step.eventType != 700)
            return 0;
        if (bundle.eventType != 700) {
            bundle = stored(step);
            bundle.count = 0;
            addStep(step);
            return 0;
        }
        if (step.keyCode == bundle.keyCode) {
            ++bundle.count;
            addStep(step);
        } else if (bundle.count > 0) {
            if (--bundle.count == 0)
                bundle.eventType = 0;
        } else if (bundle.count == 0) {
            bundle.eventType = 0;
        } else {
            bundle.count = 0;
            bundle.keyCode = bundle.keyCode == 4 ? 5 : 4;
            addStep(step);
        }
        return 11;
    }

    void addStep(Fields& step) {
        if (encoder)
            encoder->calculate(step, bundle);
    }

    void sendBundle(std::uint32_t now) {
        if (now - bundle.timeStamp < 50)
            return;
        if (bundle.eventType == 700 && bundle.count != 0)
            post({3, bundle});
        else
            bundle.eventType = 0;
        bundle.timeStamp = now;
        bundle.count = 0;
    }

    void convertToDoublePress(Fields& event) {
        if (event.eventType != 24 && event.eventType != 600)
            return;
        const Fields previous = lastPress;
        lastPress = stored(event);
        if (event.timeStamp - previous.timeStamp > doublePressMs || previous.eventType != event.eventType)
            return;
        if (event.eventType == 24 && event.keyCode == previous.keyCode)
            event.eventType = 501;
        if (event.eventType == 600 && event.eventData[1] == previous.eventData[1])
            event.eventType = 606;
    }

    static bool isPress(int type) { return type == 24 || type == 501 || type == 600 || type == 606; }

    void markLongPress(const Fields& event) {
        if (isPress(event.eventType)) {
            candidate = stored(event);
            return;
        }
        const bool isEscape = event.eventType == 608;
        const bool isMouse = isEscape || event.eventType == 601;
        if (!isMouse && event.eventType != 25)
            return;
        if (isMouse ? event.eventData[1] != candidate.eventData[1] : event.keyCode != candidate.keyCode)
            return;
        if (candidate.eventType == 500)
            postCandidateAs(502);
        else if (candidate.eventType == 605 && !isEscape)
            postCandidateAs(607);
        candidate.eventType = 0;
    }

    void sendLongPress(std::uint32_t now) {
        if (!isPress(candidate.eventType) || now - candidate.timeStamp < longPressMs)
            return;
        candidate.timeStamp = now;
        postCandidateAs(candidate.eventType == 24 || candidate.eventType == 501 ? 500 : 605);
    }

    void postCandidateAs(int type) {
        candidate.eventType = type;
        post({3, candidate});
    }

    /// The manager keeps an input event, whatever class the event claimed.
    static Fields stored(Fields event) {
        event.eventClass = 3;
        return event;
    }
};

/// The worker: a pass 100 ms after the last one.
struct WorkerModel {
    bool isRunning = false;
    unsigned int nextPass = 0;

    /// Calls \p pass with the tick of each pass until \p ms later than \p now, and moves \p now there.
    void advance(unsigned int& now, unsigned int ms, const std::function<void(unsigned int)>& pass) {
        const unsigned int end = now + ms;
        while (isRunning && static_cast<int>(end - nextPass) >= 0) {
            if (static_cast<int>(nextPass - now) > 0)
                now = nextPass;
            pass(now);
            nextPass = now + 100;
        }
        now = end;
    }
};

} // namespace KX::test
