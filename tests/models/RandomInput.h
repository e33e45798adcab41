#pragma once

#include "ClassificationModel.h"

namespace KX::test {

/// Random operator input, often near time limits, which it gets from the model.
class RandomInput {
public:
    RandomInput(Random& theRandom, const ClassificationModel& theModel) : random(theRandom), model(theModel) {}

    /// Input as the toolkit layer reports it.
    PlainEvent toolkitEvent(unsigned int now) {
        PlainEvent event = anyEvent(now);
        event.objectClass = random.oneIn(10) ? 7 : 2;
        event.fields.eventClass = random.oneIn(10) ? random.oddInt() : 2;
        event.fields.eventType =
            random.oneOf({300, 300, 300, 300, 300, 300, 301, 301, 301, 301, 200, 200, 200, 201, 201, 208, 206,
                          206, 202, 203, 204, 205, 207, 209, 302, 303, 299, 304, 102, 101, 24,  0,   -1,  10000});
        event.fields.osKeyCode = toolkitKey();
        return event;
    }

    /// Input that does not come from the toolkit.
    PlainEvent inputEvent(unsigned int now) {
        PlainEvent event = anyEvent(now);
        event.objectClass = random.oneOf({3, 3, 3, 2, 7});
        event.fields.eventClass = random.oneIn(4) ? random.oneOf({0, 1, 2, 4, 5, 6, 7, 8, 42, -1}) : 3;
        event.fields.eventType =
            random.oneOf({24,  24,  24,  24,  25,  25,  25,  600, 600, 601, 601, 608,
                          700, 700, 102, 500, 501, 502, 605, 606, 607, 602, 0,   random.anyInt()});
        return event;
    }

    /// The time until the next input; often exactly when something is due, just before or after.
    unsigned int gap(unsigned int now) {
        constexpr unsigned int longest = 5000;
        const unsigned int oneOff = static_cast<unsigned int>(random.between(-1, 1));
        unsigned int wanted = longest + 1;
        switch (random.below(8)) {
        case 0: wanted = model.candidate.timeStamp + model.longPressMs + oneOff - now; break;
        case 1:
        case 2: wanted = model.bundle.timeStamp + 50 + oneOff - now; break;
        case 3: wanted = model.lastPress.timeStamp + model.doublePressMs + oneOff - now; break;
        case 4:
            wanted = random.oneOf({99U, 100U, 101U, 299U, 300U, 301U, 1999U, 2000U, 2001U, random.below(3000)});
            break;
        default: break;
        }
        return wanted <= longest ? wanted : random.oneOf({0U, 1U, 2U, 5U, 10U, 30U, 49U, 50U, 51U});
    }

    /// A tick for a timer step: now, near its limits, or any.
    unsigned int tickForTimers(unsigned int now) { return random.oneIn(20) ? random.word() : now + gap(now); }

    unsigned int duration() {
        const unsigned int oneOff = static_cast<unsigned int>(random.between(-1, 1));
        return random.oneOf({300U, 300U, 2000U, 2000U, 300U + oneOff, 2000U + oneOff, model.doublePressMs + oneOff,
                             model.longPressMs + oneOff, 0U, 1U, 50U, 0x80000000U, 0xFFFFFFFFU,
                             random.below(4000)});
    }

    std::map<int, int> keyMapping() {
        std::map<int, int> mapping;
        for (int rows = random.between(0, 3); rows > 0; --rows)
            mapping[random.oneIn(4) ? toolkitKey() : random.between(0x41, 0x44)] =
                random.oneIn(8) ? random.anyInt() : random.between(0, 9);
        return mapping;
    }

private:
    PlainEvent anyEvent(unsigned int now) {
        PlainEvent event;
        Fields& fields = event.fields;
        fields.timeStamp = timeStamp(now);
        fillWithRandom(random, fields.eventData);
        fields.eventData[1] = button();
        fields.value = random.oddInt();
        fields.count = random.oneIn(4) ? random.oddInt() : random.oneOf({-1, 0, 1, 2, 3});
        fields.keyCode = key();
        fields.osKeyCode = random.anyInt();
        fields.inputValue = random.anyInt();
        fillWithRandom(random, fields.inputData);
        fields.signalData = {random.word(), random.word()};
        fields.sourceClass = random.oddInt();
        return event;
    }

    unsigned int timeStamp(unsigned int now) {
        if (!random.oneIn(5))
            return now;
        const unsigned int oneOff = static_cast<unsigned int>(random.between(-1, 1));
        const auto lastStep = model.encoder ? static_cast<unsigned int>(model.encoder->lastTimeStamp) : now;
        return random.oneOf({now - 1, now + 1, now - random.below(400), model.lastPress.timeStamp + oneOff,
                             model.lastPress.timeStamp + model.doublePressMs + oneOff, lastStep + oneOff,
                             lastStep + random.below(30), random.word()});
    }

    // Mostly the same key or button, so that presses pair and releases match.
    int key() {
        if (random.oneIn(6))
            usualKey = random.oneOf({0, 1, 3, 4, 4, 5, 5, 6, -1, 65535});
        return random.oneIn(4) ? random.oneOf({0, 2, 3, 3, 4, 4, 5, 5, 7, 65535}) : usualKey;
    }

    int toolkitKey() {
        static const std::vector<int> keys = {0x01000000, 0x01000010, 0x01000004, 0x01000013, 0x01000013,
                                              0x01000015, 0x01000015, 0x01000011, 0x41,       0x42};
        if (random.oneIn(6))
            usualToolkitKey = random.oneOf(keys);
        return random.oneIn(4) ? random.oneIn(8) ? random.anyInt() : random.oneOf(keys) : usualToolkitKey;
    }

    unsigned int button() {
        if (random.oneIn(6))
            usualButton = random.below(4);
        return random.oneIn(4) ? random.below(4) : usualButton;
    }

    Random& random;
    const ClassificationModel& model;
    int usualKey = 0;
    int usualToolkitKey = 0x01000010;
    unsigned int usualButton = 0;
};

} // namespace KX::test
