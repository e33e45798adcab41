#include "platform/KXEndPointManager.h"
#include "platform/KXTick.h"
#include "platform/simulated/KXSimulation.h"
#include "platform/tests/KXPlatformAdapter.h"

#include <gtest/gtest.h>

namespace KX {
namespace {

/// Its time is the driver's. A frame that must not be delivered never gets there: the adapter stands in for the driver
/// of the bus.
class SimulatedAdapter : public KXPlatformAdapter {
public:
    void beginTest() override { KXSimulation::reset(); }

    void endTest() override {
        EXPECT_EQ(KXSimulation::getLivingObjects(), 0U) << "the test left platform objects behind";
    }

    void passTime(unsigned int ms) override {
        // Threads of the system get the processor, too, for which a test may wait.
        std::this_thread::yield();
        KXSimulation::advance(ms);
    }

    void pauseThread(unsigned int ms) override {
        KXEndPointManager().waitForEndPoints(KXTick::getTickCount() + ms, 0);
    }

    bool setTick(unsigned int tick) override {
        KXSimulation::setTick(tick);
        return true;
    }

    int getGreatestPriority() const override { return 99; }

    std::optional<std::string> listen(const std::function<void()>& speak) override {
        KXSimulation::takeDebugMessages();
        speak();
        std::string text;
        for (const auto& message : KXSimulation::takeDebugMessages())
            text += message.text + "\n";
        return text;
    }

    int getBus() const override { return 0; }
    int getMissingBus() const override { return -2; } // all others exist

    bool sendFrame(const KXCANMessage& frame) override {
        KXSimulation::scheduleCANFrame(0, KXTick::getTickCount(), frame);
        return true;
    }

    bool setBusDown(bool down) override {
        KXSimulation::setCANBusDown(0, down);
        return true;
    }
};

} // namespace

std::unique_ptr<KXPlatformAdapter> makePlatformAdapter() {
    return std::make_unique<SimulatedAdapter>();
}

} // namespace KX
