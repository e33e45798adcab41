#include "platform/KXEndPointManager.h"

#include "platform/KXPipe.h"
#include "platform/KXTick.h"
#include "support/ResourceLimit.h"
#include "support/SocketEndPoint.h"
#include "support/Waiting.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <memory>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using KX::KXEndPointManager;
using KX::KXTick;

class KXEndPointManagerTest : public testing::Test {
protected:
    /// Long enough that a test which needs all of it has failed.
    int waitLong() { return manager.waitForEndPoints(KXTick::getTickCount() + 20000, 0); }

    int look() { return manager.waitForEndPoints(KXTick::getTickCount(), 0); }

    KXEndPointManager manager;
    SocketEndPoint endPoint;
    SocketEndPoint other;
    RecordingHandler handler;
    RecordingHandler otherHandler;
};

TEST_F(KXEndPointManagerTest, refusesAFileThatCannotBeWaitedFor) {
    class FileEndPoint : public KX::KXEndPoint {
    public:
        explicit FileEndPoint(int openFile) : file(openFile) {}
        int getReadEndPointID() const override { return file; }
        int getWriteEndPointID() const override { return -1; }
        bool isConnected() const override { return true; }
        int reconnect() override { return 20; }
        const int file;
    } regularFile(open("/proc/self/exe", O_RDONLY | O_CLOEXEC));
    EXPECT_EQ(manager.addEndPoint(&regularFile, &handler), 20);
    EXPECT_EQ(manager.removeEndPoint(&regularFile), 20) << "it was refused, so it is not registered";
    close(regularFile.file);
}

TEST_F(KXEndPointManagerTest, aWaitInsideAHandlerWorks) {
    manager.addEndPoint(&endPoint, &handler);
    manager.addEndPoint(&other, &otherHandler);
    endPoint.peerSends("a");
    handler.onReadable = [this](SocketEndPoint&, KXEndPointManager&) {
        other.peerSends("b");
        EXPECT_EQ(look(), 1);
    };
    EXPECT_EQ(waitLong(), 1);
    EXPECT_EQ(otherHandler.text, "b");
}

TEST(KXEndPointManagerAtTheLimit, stillWaitsTheTimeOutAndRefusesEndPoints) {
    SocketEndPoint endPoint;
    RecordingHandler handler;
    std::unique_ptr<KXEndPointManager> manager;
    {
        const NoMoreDescriptors limit;
        manager = std::make_unique<KXEndPointManager>();
    }
    EXPECT_EQ(manager->addEndPoint(&endPoint, &handler), 20);
    const long long cpuBefore = getThreadCpuMs();
    const unsigned int begin = KXTick::getTickCount();
    EXPECT_EQ(manager->waitForEndPoints(begin + 300, 0), 0);
    EXPECT_GE(KXTick::getTickCount() - begin, 300u);
    EXPECT_LT(getThreadCpuMs() - cpuBefore, 100) << "the wait was a busy loop";
}

TEST(KXEndPointManagerAtTheLimit, withOneOfItsTwoDescriptorsGivesThatBack) {
    SocketEndPoint endPoint;
    RecordingHandler handler;
    const int before = countOpenDescriptors();
    std::unique_ptr<KXEndPointManager> manager;
    {
        const NoMoreDescriptors limit(1);
        manager = std::make_unique<KXEndPointManager>();
    }
    EXPECT_EQ(countOpenDescriptors(), before);
    EXPECT_EQ(manager->addEndPoint(&endPoint, &handler), 20);
}

TEST(KXEndPointManagerAtTheLimit, withOneOfItsTwoDescriptorsLeavesItsNumberToOthers) {
    std::unique_ptr<KXEndPointManager> manager;
    {
        const NoMoreDescriptors limit(1);
        manager = std::make_unique<KXEndPointManager>();
    }
    const int next = open("/dev/null", O_RDONLY | O_CLOEXEC);
    const unsigned int begin = KXTick::getTickCount();
    EXPECT_EQ(manager->waitForEndPoints(begin + 20, 0), 0);
    EXPECT_GE(KXTick::getTickCount() - begin, 20u);
    manager.reset();
    EXPECT_NE(fcntl(next, F_GETFD), -1);
    close(next);
}

TEST(KXEndPointManagerDescriptors, noneIsInheritedByAProgramThatIsStarted) {
    const auto inherited = [] {
        int count = 0;
        for (int descriptor = 0; descriptor < 1000; ++descriptor) {
            const int flags = fcntl(descriptor, F_GETFD);
            count += flags >= 0 && (flags & FD_CLOEXEC) == 0 ? 1 : 0;
        }
        return count;
    };
    const int before = inherited();
    const KXEndPointManager manager;
    EXPECT_EQ(inherited(), before);
}

TEST(KXEndPointManagerDescriptors, noneIsLeftOpen) {
    const int before = countOpenDescriptors();
    for (int i = 0; i < 20; ++i) {
        KXEndPointManager manager;
        SocketEndPoint endPoint;
        RecordingHandler handler;
        manager.addEndPoint(&endPoint, &handler);
        endPoint.peerSends("x");
        manager.waitForEndPoints(KXTick::getTickCount(), 0);
        manager.removeEndPoint(&endPoint);
    }
    EXPECT_EQ(countOpenDescriptors(), before);
}

} // namespace
