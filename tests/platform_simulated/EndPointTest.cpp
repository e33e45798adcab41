#include "Simulated.h"

#include "platform/KXPipe.h"

#include <stdexcept>
#include <thread>

namespace KX::test {

using testing::ElementsAre;
using testing::IsEmpty;

class EndPoints : public Simulated {
protected:
    Trace trace;
    TracingHandler handler{"h", trace, readOwn};
    OwnEndPoint endPoint;
};

void writeByte(const KXPipe& pipe) {
    char byte = 'x';
    EXPECT_EQ(pipe.writeIntoPipe(&byte, 1), 0);
}

void readByte(KXEndPoint* endPoint) {
    char byte = 0;
    EXPECT_EQ(static_cast<KXPipe*>(endPoint)->readFromPipe(&byte, 1), 0);
}

TEST_F(EndPoints, WriteRunsNobodyUntilTheNextAdvance) {
    KXPipe pipe;
    ASSERT_EQ(pipe.init(), 0);
    TracingHandler pipeHandler("p", trace, readByte);
    Worker worker("w", trace, 100);
    worker.getManager().addEndPoint(&pipe, &pipeHandler);
    KXSimulation::advance(40);
    writeByte(pipe);
    EXPECT_THAT(trace, IsEmpty());
    KXSimulation::advance(0);
    EXPECT_THAT(trace, ElementsAre("p readable@40", "w!1@40"));
    KXSimulation::advance(100);
    EXPECT_THAT(trace, ElementsAre("p readable@40", "w!1@40", "w@140"));
}

TEST_F(EndPoints, ReadableOneIsServedWithoutHandingOver) {
    KXEndPointManager manager;
    manager.addEndPoint(&endPoint, &handler);
    KXSimulation::setReadable(&endPoint, true);
    Script script("s", [&] {
        EXPECT_EQ(manager.waitForEndPoints(100, 0), 1);
        trace.push_back(atTick("s"));
    });
    ASSERT_EQ(script.start(), 0);
    EXPECT_THAT(trace, ElementsAre("h readable@0", "s@0"));
}

TEST_F(EndPoints, OneRoundCallsEachReadableHandlerOnceInTheOrderAdded) {
    OwnEndPoint silent;
    OwnEndPoint last;
    TracingHandler silentHandler("silent", trace, readOwn);
    TracingHandler lastHandler("last", trace, [](KXEndPoint*) {});
    KXEndPointManager manager;
    manager.addEndPoint(&endPoint, &handler);
    manager.addEndPoint(&silent, &silentHandler);
    manager.addEndPoint(&last, &lastHandler);
    KXSimulation::setReadable(&last, true);
    KXSimulation::setReadable(&endPoint, true);
    EXPECT_EQ(manager.waitForEndPoints(100, 0), 2);
    EXPECT_THAT(trace, ElementsAre("h readable@0", "last readable@0"));
    EXPECT_EQ(manager.waitForEndPoints(100, 0), 1) << "what was not read is told again";
    EXPECT_EQ(KXTick::getTickCount(), 0u);
}

// The driver would wait for ever for a handler that is no longer called.
TEST_F(EndPoints, AHandlerThatThrewIsNotInUse) {
    KXEndPointManager manager;
    TracingHandler throwing("h", trace, [](KXEndPoint*) { throw std::runtime_error("not now"); });
    manager.addEndPoint(&endPoint, &throwing);
    Script script("s", [&] {
        EXPECT_THROW(manager.waitForEndPoints(100, 0), std::runtime_error);
        KXSimulation::setReadable(&endPoint, false);
        manager.waitForEndPoints(200, 0);
    });
    KXSimulation::setReadable(&endPoint, true);
    ASSERT_EQ(script.start(), 0);
    EXPECT_EQ(manager.removeEndPoint(&endPoint), 0);
    script.stopAndWait();
}

TEST_F(EndPoints, DriversWaitEndsAtTheTickAtWhichAThreadMakesItsEndPointReadable) {
    KXPipe pipe;
    ASSERT_EQ(pipe.init(), 0);
    TracingHandler pipeHandler("p", trace, readByte);
    KXEndPointManager manager;
    manager.addEndPoint(&pipe, &pipeHandler);
    Script script("s", [&] {
        KXEndPointManager own;
        own.waitForEndPoints(30, 0);
        writeByte(pipe);
    });
    ASSERT_EQ(script.start(), 0);
    EXPECT_EQ(manager.waitForEndPoints(1000, 0), 1);
    EXPECT_EQ(KXTick::getTickCount(), 30u);
    EXPECT_THAT(trace, ElementsAre("p readable@30"));
}

TEST_F(EndPoints, OneThreadWakesAnotherAtTheSameTick) {
    KXPipe pipe;
    ASSERT_EQ(pipe.init(), 0);
    TracingHandler pipeHandler("p", trace, readByte);
    Worker reader("reader", trace, 1000);
    reader.getManager().addEndPoint(&pipe, &pipeHandler);
    Script writer("writer", [&] {
        KXEndPointManager().waitForEndPoints(30, 0);
        writeByte(pipe);
        writeByte(pipe);
    });
    ASSERT_EQ(writer.start(), 0);
    KXSimulation::advance(100);
    EXPECT_THAT(trace, ElementsAre("p readable@30", "reader!1@30", "p readable@30", "reader!1@30"));
}

TEST_F(EndPoints, EndWaitsServesWhatIsReadable) {
    Worker worker("w", trace, 100);
    worker.getManager().addEndPoint(&endPoint, &handler);
    KXSimulation::setReadable(&endPoint, true);
    KXSimulation::endWaits();
    EXPECT_THAT(trace, ElementsAre("h readable@0", "w!1@0"));
}

TEST_F(EndPoints, RemovedOneIsNotCalledAndDoesNotEndAWait) {
    Worker worker("w", trace, 100);
    worker.getManager().addEndPoint(&endPoint, &handler);
    KXSimulation::setReadable(&endPoint, true);
    worker.getManager().removeEndPoint(&endPoint);
    KXSimulation::advance(100);
    EXPECT_THAT(trace, ElementsAre("w@100"));
}

TEST_F(EndPoints, HandlerMayAddOne) {
    OwnEndPoint added;
    TracingHandler addedHandler("added", trace, readOwn);
    KXEndPointManager manager;
    TracingHandler adding("adding", trace, [&](KXEndPoint* self) {
        readOwn(self);
        EXPECT_EQ(manager.addEndPoint(&added, &addedHandler), 0);
    });
    manager.addEndPoint(&endPoint, &adding);
    KXSimulation::setReadable(&endPoint, true);
    KXSimulation::setReadable(&added, true);
    EXPECT_EQ(manager.waitForEndPoints(100, 0), 1) << "it counts from the next round on";
    EXPECT_EQ(manager.waitForEndPoints(100, 0), 1);
    EXPECT_THAT(trace, ElementsAre("adding readable@0", "added readable@0"));
}

TEST_F(EndPoints, DestroyedOneLeavesNoMarkForTheNextAtItsAddress) {
    KXEndPointManager manager;
    alignas(OwnEndPoint) unsigned char place[sizeof(OwnEndPoint)];
    auto* first = new (place) OwnEndPoint;
    KXSimulation::setReadable(first, true);
    first->~OwnEndPoint();
    auto* second = new (place) OwnEndPoint;
    manager.addEndPoint(second, &handler);
    EXPECT_EQ(manager.waitForEndPoints(0, 0), 0);
    manager.removeEndPoint(second);
    second->~OwnEndPoint();
}

TEST_F(EndPoints, LostOneIsToldOnceAndRetriedEverySecond) {
    endPoint.reconnectStatus = 20;
    Worker worker("w", trace, 10000);
    worker.getManager().addEndPoint(&endPoint, &handler);
    KXSimulation::advance(5);
    endPoint.connected = false;
    KXSimulation::advance(0);
    EXPECT_THAT(trace, ElementsAre("h lost@5", "w!1@5"));
    KXSimulation::advance(999);
    EXPECT_EQ(endPoint.reconnects, 0);
    KXSimulation::advance(1);
    EXPECT_EQ(endPoint.reconnects, 1);
    KXSimulation::advance(999);
    EXPECT_EQ(endPoint.reconnects, 1);
    endPoint.reconnectStatus = 0;
    KXSimulation::advance(1);
    EXPECT_EQ(endPoint.reconnects, 2);
    EXPECT_THAT(trace, ElementsAre("h lost@5", "w!1@5", "h back@2005", "w!1@2005"));
}

TEST_F(EndPoints, LostOneIsRetriedByShortWaitsToo) {
    endPoint.connected = false;
    Worker worker("w", trace, 300);
    worker.getManager().addEndPoint(&endPoint, &handler);
    KXSimulation::advance(1300);
    EXPECT_THAT(trace,
                ElementsAre("h lost@0", "w!1@0", "w@300", "w@600", "w@900", "h back@1000", "w!1@1000", "w@1300"));
}

TEST_F(EndPoints, FailedRetryDoesNotEndAWait) {
    endPoint.connected = false;
    endPoint.reconnectStatus = 20;
    KXEndPointManager manager;
    manager.addEndPoint(&endPoint, &handler);
    EXPECT_EQ(manager.waitForEndPoints(5000, 0), 1);
    EXPECT_EQ(manager.waitForEndPoints(5000, 0), 0);
    EXPECT_EQ(KXTick::getTickCount(), 5000u);
    EXPECT_EQ(endPoint.reconnects, 5);
}

TEST_F(EndPoints, OneThatSomebodyElseBroughtBackIsToldAtOnce) {
    endPoint.connected = false;
    KXEndPointManager manager;
    manager.addEndPoint(&endPoint, &handler);
    EXPECT_EQ(manager.waitForEndPoints(500, 0), 1);
    endPoint.connected = true;
    EXPECT_EQ(manager.waitForEndPoints(500, 0), 1);
    EXPECT_THAT(trace, ElementsAre("h lost@0", "h back@0"));
    EXPECT_EQ(endPoint.reconnects, 0);
}

TEST_F(EndPoints, LostOneIsNotReadable) {
    endPoint.connected = false;
    KXSimulation::setReadable(&endPoint, true);
    KXEndPointManager manager;
    manager.addEndPoint(&endPoint, &handler);
    manager.waitForEndPoints(500, 0);
    EXPECT_EQ(manager.waitForEndPoints(500, 0), 0);
    EXPECT_THAT(trace, ElementsAre("h lost@0"));
}

TEST_F(EndPoints, UnopenedPipeIsLostUntilARetryOpensIt) {
    KXPipe pipe;
    KXEndPointManager manager;
    manager.addEndPoint(&pipe, &handler);
    EXPECT_EQ(manager.waitForEndPoints(2000, 0), 1);
    EXPECT_EQ(manager.waitForEndPoints(2000, 0), 1);
    EXPECT_THAT(trace, ElementsAre("h lost@0", "h back@1000"));
    EXPECT_TRUE(pipe.isConnected());
}

using EndPointsDeath = EndPoints;

TEST_F(EndPointsDeath, AHandlerThatDoesNotReadIsNamed) {
    const auto runDeaf = [this] {
        TracingHandler deaf("deaf", trace, [this](KXEndPoint*) { trace.clear(); });
        Worker worker("deafWorker", trace, 100);
        worker.getManager().addEndPoint(&endPoint, &deaf);
        KXSimulation::setReadable(&endPoint, true);
        KXSimulation::advance(7);
    };
    EXPECT_DEATH(runDeaf(), "thread \"deafWorker\" waits again and again at tick 0.*does not read");
}

} // namespace KX::test
