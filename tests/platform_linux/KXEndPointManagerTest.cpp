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

TEST_F(KXEndPointManagerTest, refusesNullStrangersAndDoubles) {
    EXPECT_EQ(manager.addEndPoint(nullptr, &handler), 24);
    EXPECT_EQ(manager.addEndPoint(&endPoint, nullptr), 24);
    EXPECT_EQ(manager.removeEndPoint(&endPoint), 20);
    EXPECT_EQ(manager.removeEndPoint(nullptr), 20);
    EXPECT_EQ(manager.addEndPoint(&endPoint, &handler), 0);
    EXPECT_EQ(manager.addEndPoint(&endPoint, &otherHandler), 20);
    EXPECT_EQ(manager.removeEndPoint(&endPoint), 0);
    EXPECT_EQ(manager.removeEndPoint(&endPoint), 20);
    EXPECT_EQ(manager.addEndPoint(&endPoint, &handler), 0);
}

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

TEST_F(KXEndPointManagerTest, withNoEndPointItWaitsTheTimeOut) {
    const unsigned int begin = KXTick::getTickCount();
    EXPECT_EQ(manager.waitForEndPoints(begin + 60, 0), 0);
    EXPECT_GE(KXTick::getTickCount() - begin, 60u);
}

TEST_F(KXEndPointManagerTest, withSilentEndPointsItWaitsTheTimeOut) {
    manager.addEndPoint(&endPoint, &handler);
    const unsigned int begin = KXTick::getTickCount();
    EXPECT_EQ(manager.waitForEndPoints(begin + 60, 0), 0);
    EXPECT_GE(KXTick::getTickCount() - begin, 60u);
    EXPECT_EQ(handler.readable, 0);
}

TEST_F(KXEndPointManagerTest, aTickThatHasPassedMeansToLookOnce) {
    manager.addEndPoint(&endPoint, &handler);
    const unsigned int now = KXTick::getTickCount();
    EXPECT_EQ(manager.waitForEndPoints(now - 1, 0), 0);
    EXPECT_EQ(manager.waitForEndPoints(now - 0x7ffffff0u, 0), 0);
    EXPECT_LT(KXTick::getTickCount() - now, 1000u);
    endPoint.peerSends("x");
    EXPECT_EQ(manager.waitForEndPoints(now - 1, 0), 1);
    EXPECT_EQ(handler.text, "x");
}

TEST_F(KXEndPointManagerTest, tellsWhoCanBeReadAndWhichManagerSaysSo) {
    manager.addEndPoint(&endPoint, &handler);
    manager.addEndPoint(&other, &otherHandler);
    endPoint.peerSends("hello");
    EXPECT_EQ(waitLong(), 1);
    EXPECT_EQ(handler.text, "hello");
    EXPECT_EQ(handler.lastManager, &manager);
    EXPECT_EQ(otherHandler.readable, 0);
}

TEST_F(KXEndPointManagerTest, callsEveryHandlerThatHasSomethingOnceInARound) {
    std::vector<std::unique_ptr<SocketEndPoint>> many;
    for (int i = 0; i < 100; ++i) {
        many.push_back(std::make_unique<SocketEndPoint>());
        manager.addEndPoint(many.back().get(), &handler);
        many.back()->peerSends("x");
    }
    EXPECT_EQ(waitLong(), 100);
    EXPECT_EQ(handler.text, std::string(100, 'x'));
    EXPECT_EQ(look(), 0);
}

TEST_F(KXEndPointManagerTest, tellsAgainWhatWasNotReadToTheEnd) {
    class OneByteReader : public RecordingHandler {
        void onEndPointReadable(KX::KXEndPoint* toRead, KXEndPointManager*) override {
            text += static_cast<SocketEndPoint*>(toRead)->read(1);
        }
    } reader;
    manager.addEndPoint(&endPoint, &reader);
    endPoint.peerSends("abc");
    EXPECT_EQ(look(), 1);
    EXPECT_EQ(look(), 1);
    EXPECT_EQ(look(), 1);
    EXPECT_EQ(look(), 0);
    EXPECT_EQ(reader.text, "abc");
}

TEST_F(KXEndPointManagerTest, waitsOnAPipe) {
    class PipeReader : public RecordingHandler {
        void onEndPointReadable(KX::KXEndPoint* toRead, KXEndPointManager*) override {
            EXPECT_EQ(static_cast<KX::KXPipe*>(toRead)->readFromPipe(&value, sizeof(value)), 0);
        }

    public:
        int value = 0;
    } reader;
    KX::KXPipe pipe;
    ASSERT_EQ(pipe.init(), 0);
    manager.addEndPoint(&pipe, &reader);
    int value = 4711;
    std::thread writer([&] { EXPECT_EQ(pipe.writeIntoPipe(&value, sizeof(value)), 0); });
    EXPECT_EQ(waitLong(), 1);
    writer.join();
    EXPECT_EQ(reader.value, 4711);
}

TEST_F(KXEndPointManagerTest, aHandlerMayRemoveItself) {
    handler.onReadable = [](SocketEndPoint& self, KXEndPointManager& its) {
        EXPECT_EQ(its.removeEndPoint(&self), 0);
    };
    manager.addEndPoint(&endPoint, &handler);
    endPoint.peerSends("x");
    EXPECT_EQ(waitLong(), 1);
    endPoint.peerSends("y");
    EXPECT_EQ(look(), 0);
    EXPECT_EQ(manager.removeEndPoint(&endPoint), 20);
}

TEST_F(KXEndPointManagerTest, aHandlerMayRemoveAndDestroyItsEndPointAndTheOthers) {
    auto first = std::make_unique<SocketEndPoint>();
    auto second = std::make_unique<SocketEndPoint>();
    handler.onReadable = [&](SocketEndPoint&, KXEndPointManager& its) {
        EXPECT_EQ(its.removeEndPoint(first.get()), 0);
        EXPECT_EQ(its.removeEndPoint(second.get()), 0);
        first.reset();
        second.reset();
    };
    manager.addEndPoint(first.get(), &handler);
    manager.addEndPoint(second.get(), &handler);
    first->peerSends("x");
    second->peerSends("x");
    EXPECT_EQ(waitLong(), 1) << "both were readable, but the first handler removed the second";
    EXPECT_EQ(handler.readable, 1);
}

TEST_F(KXEndPointManagerTest, aHandlerMayAddItselfAnew) {
    handler.onReadable = [this](SocketEndPoint& self, KXEndPointManager& its) {
        EXPECT_EQ(its.removeEndPoint(&self), 0);
        EXPECT_EQ(its.addEndPoint(&self, &otherHandler), 0);
    };
    manager.addEndPoint(&endPoint, &handler);
    endPoint.peerSends("x");
    EXPECT_EQ(waitLong(), 1);
    endPoint.peerSends("y");
    EXPECT_EQ(waitLong(), 1);
    EXPECT_EQ(handler.text, "x");
    EXPECT_EQ(otherHandler.text, "y");
}

TEST_F(KXEndPointManagerTest, aHandlerMayAddAnotherEndPoint) {
    handler.onReadable = [this](SocketEndPoint&, KXEndPointManager& its) {
        EXPECT_EQ(its.addEndPoint(&other, &otherHandler), 0);
    };
    other.peerSends("waiting");
    manager.addEndPoint(&endPoint, &handler);
    endPoint.peerSends("x");
    EXPECT_EQ(waitLong(), 1);
    EXPECT_EQ(waitLong(), 1);
    EXPECT_EQ(otherHandler.text, "waiting");
}

TEST_F(KXEndPointManagerTest, anEndPointThatAnotherHandlerReadEmptyIsNotReported) {
    handler.onReadable = [this](SocketEndPoint&, KXEndPointManager&) { EXPECT_EQ(other.read(), "b"); };
    otherHandler.onReadable = [this](SocketEndPoint&, KXEndPointManager&) { EXPECT_EQ(endPoint.read(), "a"); };
    manager.addEndPoint(&endPoint, &handler);
    manager.addEndPoint(&other, &otherHandler);
    endPoint.peerSends("a");
    other.peerSends("b");
    EXPECT_EQ(waitLong(), 1);
    EXPECT_EQ(handler.readable + otherHandler.readable, 1);
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
