#pragma once

#include "platform/KXCANMessage.h"
#include "platform/KXCANRaw.h"

#include <deque>

namespace KX::test {

/// A bus of the test's own. Reads give the frames that were put into it, in order; without one a read fails.
class OwnCANBus : public KXCANRaw {
public:
    int getReadEndPointID() const override { return 1; }

    int getWriteEndPointID() const override { return -1; }

    bool isConnected() const override { return true; }

    int reconnect() override { return 0; }

    int configure(unsigned char) override { return 0; }

    int readFrame(KXCANMessage& message) override {
        asked = message;
        if (frames.empty())
            return 20;
        message = frames.front();
        frames.pop_front();
        return 0;
    }

    std::deque<KXCANMessage> frames;
    KXCANMessage asked; ///< the message of the last read as it was passed in
};

} // namespace KX::test
