#pragma once

#include "HolderModel.h"
#include "events/KXEventQueue.h"

#include <vector>

namespace KX::test {

/// The after-post hook of a queue under test. A plain function has no state, so the state is static.
struct QueueHook {
    enum Kind { none, looks, takes };

    static inline KXEventQueue* queue = nullptr;
    static inline std::vector<unsigned int> sizesSeen;
    static inline std::vector<KXSomeEvent> taken;

    static void look() { sizesSeen.push_back(queue->getSize()); }

    static void take() {
        sizesSeen.push_back(queue->getSize());
        taken.push_back(queue->getNextEvent());
    }

    static void set(KXEventQueue* hooked, Kind kind) {
        queue = hooked;
        hooked->setAfterPostFunction(kind == none ? nullptr : kind == looks ? &look : &take);
    }

    static void forgetWhatItSaw() {
        sizesSeen.clear();
        taken.clear();
    }
};

/// The effects of one post, in the library or in the model.
struct PostResult {
    bool isMismatch = false;             ///< the post threw std::bad_cast
    std::vector<unsigned int> sizesSeen; ///< by the hook
    std::vector<Fields> taken;           ///< by the hook
    std::string said;                    ///< on standard error

    std::string differsFrom(const PostResult& expected) const {
        std::ostringstream out;
        if (isMismatch != expected.isMismatch)
            out << "\n  std::bad_cast " << (expected.isMismatch ? "did not come" : "came");
        if (sizesSeen != expected.sizesSeen) {
            out << "\n  the hook ran " << sizesSeen.size() << " times instead of " << expected.sizesSeen.size();
            if (!sizesSeen.empty() && !expected.sizesSeen.empty())
                out << ", saw the size " << sizesSeen[0] << " instead of " << expected.sizesSeen[0];
        }
        if (taken != expected.taken)
            out << "\n  the hook did not take the event expected";
        if (said != expected.said)
            out << "\n  standard error expected '" << expected.said << "'\n  actual '" << said << "'";
        return out.str();
    }
};

/// Posts to the library's queue. Reads \p error when the model expects a line there, and now and then.
template<class Capture>
PostResult postForReal(KXEventQueue& queue, const PlainEvent& event, Random& random, bool expectsLine,
                       Capture& error) {
    PostResult result;
    const auto object = objectOf(event, random.oneIn(2));
    const bool isCaptured = expectsLine || random.oneIn(32);
    QueueHook::forgetWhatItSaw();
    if (isCaptured)
        error.begin();
    try {
        queue.postEvent(*object);
    } catch (const std::bad_cast&) {
        result.isMismatch = true;
    }
    if (isCaptured)
        result.said = error.end();
    result.sizesSeen = QueueHook::sizesSeen;
    for (const auto& holder : QueueHook::taken)
        result.taken.push_back(fieldsOf(holder));
    return result;
}

} // namespace KX::test
