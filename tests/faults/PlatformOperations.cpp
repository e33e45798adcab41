// The Linux platform: pipes, mutexes, threads, end points and the debug service.

#include "tests/faults/Support.h"

#include "platform/KXDebug.h"
#include "platform/KXEndPointHandler.h"
#include "platform/KXEndPointManager.h"
#include "platform/KXMutex.h"
#include "platform/KXString.h"
#include "platform/KXThread.h"
#include "platform/KXTick.h"

#include <atomic>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

namespace KX::test {

namespace {

using testing::AnyOf;
using testing::HasSubstr;

class Handler : public KXEndPointHandler {
public:
    void onEndPointReadable(KXEndPoint* endPoint, KXEndPointManager*) override {
        ++readable;
        char byte = 0;
        while (static_cast<KXPipe*>(endPoint)->readFromPipe(&byte, 1) == STATUS_OK)
            ++bytes;
    }
    void onEndPointReconnected(KXEndPoint*) override { ++reconnected; }
    void onEndPointDisconnected(KXEndPoint*) override { ++disconnected; }

    int readable = 0;
    int bytes = 0;
    int reconnected = 0;
    int disconnected = 0;
};

void write(KXPipe& pipe) {
    char byte = 1;
    EXPECT_EQ(pipe.writeIntoPipe(&byte, 1), STATUS_OK);
}

int look(KXEndPointManager& manager) {
    return manager.waitForEndPoints(KXTick::getTickCount(), 0);
}

/// The manager tells the handler of the pipe once, and no more.
void expectServes(KXEndPointManager& manager, KXPipe& pipe, Handler& handler) {
    const int before = handler.bytes;
    write(pipe);
    EXPECT_EQ(look(manager), 1);
    EXPECT_EQ(handler.bytes, before + 1);
    EXPECT_EQ(look(manager), 0);
}

void expectRegisters(KXEndPointManager& manager, KXPipe& pipe) {
    Handler handler;
    EXPECT_EQ(manager.addEndPoint(&pipe, &handler), STATUS_OK);
    expectServes(manager, pipe, handler);
    EXPECT_EQ(manager.removeEndPoint(&pipe), STATUS_OK);
}

const Operation pipeOperations[] = {
    {"KXPipe", "make", "throws std::bad_alloc; nothing is left",
     [](Fault& fault) {
         std::unique_ptr<KXPipe> pipe;
         const bool isMade = fault.completes([&] { pipe = std::make_unique<KXPipe>(); });
         EXPECT_EQ(isMade, pipe != nullptr);
     }},

    {"KXPipe", "init", "refused and closed; a later call opens it. A pipe that cannot be enlarged works",
     [](Fault& fault) {
         KXPipe pipe;
         const int status = fault.during([&] { return pipe.init(); });
         EXPECT_EQ(status, fault.isOf("pipe2") ? STATUS_REFUSED : STATUS_OK);
         EXPECT_EQ(pipe.isConnected(), status == STATUS_OK);
         EXPECT_EQ(pipe.getReadEndPointID() >= 0, status == STATUS_OK);
         EXPECT_EQ(pipe.init(), STATUS_OK);
         expectCarries(pipe);
     }},

    {"KXPipe", "reconnect", "refused and closed; a later call opens it",
     [](Fault& fault) {
         KXPipe pipe;
         pipe.init();
         const int status = fault.during([&] { return pipe.reconnect(); });
         EXPECT_EQ(status, fault.isOf("pipe2") ? STATUS_REFUSED : STATUS_OK);
         EXPECT_EQ(pipe.isConnected(), status == STATUS_OK);
         EXPECT_EQ(pipe.reconnect(), STATUS_OK);
         expectCarries(pipe);
     }},

    {"KXPipe", "destroy", "both ends are closed",
     [](Fault& fault) {
         auto pipe = std::make_unique<KXPipe>();
         pipe->init();
         fault.during([&] { pipe.reset(); });
     }},

    {"KXPipe", "writeIntoPipe", "refused: none of it was written",
     [](Fault& fault) {
         KXPipe pipe;
         pipe.init();
         char text[] = "bytes";
         const int status = fault.during([&] { return pipe.writeIntoPipe(text, sizeof(text)); });
         const bool isWritten = status == STATUS_OK;
         EXPECT_THAT(status, AnyOf(STATUS_OK, STATUS_REFUSED));
         EXPECT_EQ(pipe.getNoOfBytesAvailable(), isWritten ? static_cast<int>(sizeof(text)) : 0);
         if (isWritten)
             EXPECT_EQ(pipe.readFromPipe(text, sizeof(text)), STATUS_OK);
         expectCarries(pipe);
     }},

    {"KXPipe", "writeIntoPipe_more_than_a_page", "refused: none of it was written",
     [](Fault& fault) {
         KXPipe pipe;
         pipe.init();
         std::string text(10000, 'x');
         const int size = static_cast<int>(text.size());
         const int status = fault.during([&] { return pipe.writeIntoPipe(text.data(), size); });
         EXPECT_THAT(status, AnyOf(STATUS_OK, STATUS_REFUSED));
         EXPECT_EQ(pipe.getNoOfBytesAvailable(), status == STATUS_OK ? size : 0);
     }},

    {"KXPipe", "readFromPipe", "refused: the bytes are still there",
     [](Fault& fault) {
         KXPipe pipe;
         pipe.init();
         write(pipe);
         char byte = 0;
         const int status = fault.during([&] { return pipe.readFromPipe(&byte, 1); });
         EXPECT_THAT(status, AnyOf(STATUS_OK, STATUS_REFUSED));
         EXPECT_EQ(pipe.getNoOfBytesAvailable(), status == STATUS_OK ? 0 : 1);
         EXPECT_EQ(pipe.isReadable(), status != STATUS_OK);
     }},
};

const Operation mutexOperations[] = {
    {"KXMutex", "create", "null; nothing is left. Without priority inheritance it works",
     [](Fault& fault) {
         const std::unique_ptr<KXMutex> mutex(fault.during([] { return KXMutex::create(); }));
         if (!fault.hasHappened() || fault.isOf("pthread_mutexattr_setprotocol"))
             ASSERT_NE(mutex, nullptr);
         if (!mutex)
             return;
         EXPECT_TRUE(mutex->lock());
         EXPECT_FALSE(mutex->lock()) << "of the same thread";
         mutex->unlock();
     }},

    {"KXMutex", "lock", "false, and not held; a later call locks it",
     [](Fault& fault) {
         const std::unique_ptr<KXMutex> mutex(KXMutex::create());
         const bool isLocked = fault.during([&] { return mutex->lock(); });
         EXPECT_EQ(isLocked, !fault.isOf("pthread_mutex_lock"));
         if (isLocked)
             mutex->unlock();
         EXPECT_TRUE(mutex->lock());
         mutex->unlock();
     }},

    {"KXAutoLock", "make_and_destroy", "the scope runs without the mutex, which is free behind it",
     [](Fault& fault) {
         const std::unique_ptr<KXMutex> mutex(KXMutex::create());
         fault.during([&] { const KXAutoLock lock(mutex.get()); });
         EXPECT_TRUE(mutex->lock());
         mutex->unlock();
     }},
};

void* raise(void* flag) {
    *static_cast<std::atomic<bool>*>(flag) = true;
    return nullptr;
}

void expectRuns(KXThread& thread) {
    std::atomic<bool> hasRun{false};
    thread.setEntryFunction(&raise, &hasRun);
    EXPECT_EQ(thread.start(0, 0), STATUS_OK);
    EXPECT_EQ(thread.stopAndWait(), STATUS_OK);
    EXPECT_TRUE(hasRun);
}

const Operation threadOperations[] = {
    {"KXThread", "create", "null, with a line",
     [](Fault& fault) {
         const std::string name = "a name that the kernel cuts";
         const std::unique_ptr<KXThread> thread(fault.during([&] { return KXThread::create(name); }));
         if (thread)
             return expectRuns(*thread);
         EXPECT_TRUE(fault.hasHappened());
         EXPECT_THAT(fault.getLines(), HasSubstr("cannot be made: no memory is left\n"));
     }},

    {"KXThread", "start", "refused with a line, and nothing runs; a later call starts it",
     [](Fault& fault) {
         const std::unique_ptr<KXThread> thread(KXThread::create("thread"));
         std::atomic<bool> hasRun{false};
         thread->setEntryFunction(&raise, &hasRun);
         const int status = fault.during([&] { return thread->start(0, 0); });
         EXPECT_EQ(thread->stopAndWait(), STATUS_OK);
         EXPECT_EQ(hasRun, status == STATUS_OK);
         if (status != STATUS_OK) {
             EXPECT_THAT(status, AnyOf(STATUS_REFUSED, STATUS_OUT_OF_RANGE));
             EXPECT_THAT(fault.getLines(), HasSubstr("thread \"thread\" is not started: "));
             const std::string described = fault.describe();
             EXPECT_EQ(status == STATUS_OUT_OF_RANGE, described.find("EINVAL") != std::string::npos) << described;
             if (described.find("EAGAIN") != std::string::npos)
                 EXPECT_THAT(fault.getLines(), HasSubstr("is not started: Resource temporarily unavailable\n"));
         }
         expectRuns(*thread);
     }},

    {"KXThread", "start_again", "refused with a line; a later call starts it",
     [](Fault& fault) {
         const std::unique_ptr<KXThread> thread(KXThread::create("thread"));
         std::atomic<bool> hasRun{false};
         thread->setEntryFunction(&raise, &hasRun);
         EXPECT_EQ(thread->start(0, 0), STATUS_OK);
         while (thread->start(0, 0) != STATUS_OK) // until the first run has ended
             KXTick::getTickCount();
         const auto startAgain = [&] { return fault.during([&] { return thread->start(0, 0); }); };
         int status = startAgain();
         while (status != STATUS_OK && !fault.hasHappened())
             status = startAgain();
         if (fault.isOf("pthread_join")) {
             EXPECT_EQ(status, STATUS_REFUSED);
             EXPECT_THAT(fault.getLines(), HasSubstr("its earlier run waits for the thread that starts it\n"));
         }
         EXPECT_EQ(thread->stopAndWait(), STATUS_OK);
         expectRuns(*thread);
     }},

    {"KXThread", "stopAndWait", "refused; a later call waits for the end",
     [](Fault& fault) {
         const std::unique_ptr<KXThread> thread(KXThread::create("thread"));
         std::atomic<bool> hasRun{false};
         thread->setEntryFunction(&raise, &hasRun);
         EXPECT_EQ(thread->start(0, 0), STATUS_OK);
         const int status = fault.during([&] { return thread->stopAndWait(); });
         EXPECT_EQ(status, fault.hasHappened() ? STATUS_REFUSED : STATUS_OK);
         EXPECT_EQ(thread->stopAndWait(), STATUS_OK);
         EXPECT_TRUE(hasRun);
         expectRuns(*thread);
     }},

    {"KXThread", "getCurrentThreadID", "does not fail",
     [](Fault& fault) {
         const unsigned int number = KXThread::getCurrentThreadID();
         EXPECT_EQ(fault.during([] { return KXThread::getCurrentThreadID(); }), number);
     }},
};

const Operation endPointOperations[] = {
    {"KXEndPointManager", "make", "throws std::bad_alloc; without descriptors it refuses every end point",
     [](Fault& fault) {
         KXPipe pipe;
         pipe.init();
         std::unique_ptr<KXEndPointManager> manager;
         if (!fault.completes([&] { manager = std::make_unique<KXEndPointManager>(); }))
             return;
         Handler handler;
         EXPECT_EQ(manager->addEndPoint(&pipe, &handler), fault.hasHappened() ? STATUS_REFUSED : STATUS_OK);
         EXPECT_EQ(look(*manager), 0);
         if (!fault.hasHappened()) {
             EXPECT_EQ(manager->removeEndPoint(&pipe), STATUS_OK);
             expectRegisters(*manager, pipe);
         }
     }},

    {"KXEndPointManager", "addEndPoint", "refused and not registered; a later call registers it",
     [](Fault& fault) {
         KXPipe pipe;
         pipe.init();
         KXEndPointManager manager;
         Handler handler;
         const int status = fault.during([&] { return manager.addEndPoint(&pipe, &handler); });
         EXPECT_EQ(status, fault.hasHappened() ? STATUS_REFUSED : STATUS_OK);
         EXPECT_EQ(manager.removeEndPoint(&pipe), status);
         expectRegisters(manager, pipe);
     }},

    {"KXEndPointManager", "addEndPoint_that_is_closed", "refused and not registered, or registered",
     [](Fault& fault) {
         KXPipe pipe;
         KXEndPointManager manager;
         Handler handler;
         const int status = fault.during([&] { return manager.addEndPoint(&pipe, &handler); });
         EXPECT_THAT(status, AnyOf(STATUS_OK, STATUS_REFUSED));
         EXPECT_EQ(manager.removeEndPoint(&pipe), status);
         EXPECT_EQ(manager.addEndPoint(&pipe, &handler), STATUS_OK);
         EXPECT_EQ(look(manager), 1);
         EXPECT_EQ(handler.disconnected, 1);
         EXPECT_EQ(manager.removeEndPoint(&pipe), STATUS_OK);
     }},

    {"KXEndPointManager", "removeEndPoint", "does not fail",
     [](Fault& fault) {
         KXPipe pipe;
         pipe.init();
         KXEndPointManager manager;
         Handler handler;
         manager.addEndPoint(&pipe, &handler);
         EXPECT_EQ(fault.during([&] { return manager.removeEndPoint(&pipe); }), STATUS_OK);
         expectRegisters(manager, pipe);
     }},

    {"KXEndPointManager", "waitForEndPoints", "allocates nothing; what it could not tell, the next wait tells",
     [](Fault& fault) {
         KXPipe pipe;
         pipe.init();
         KXEndPointManager manager;
         Handler handler;
         manager.addEndPoint(&pipe, &handler);
         write(pipe);
         EXPECT_EQ(fault.during([&] { return look(manager); }), handler.readable);
         look(manager);
         EXPECT_EQ(handler.bytes, 1);
         expectServes(manager, pipe, handler);
         EXPECT_EQ(manager.removeEndPoint(&pipe), STATUS_OK);
     }},

    {"KXEndPointManager", "waitForEndPoints_of_many", "throws std::bad_alloc; the next wait tells of all",
     [](Fault& fault) {
         constexpr int many = 40; // more than a wait has room for without the heap
         std::unique_ptr<KXPipe> pipes[many];
         KXEndPointManager manager;
         Handler handler;
         for (auto& pipe : pipes) {
             pipe = std::make_unique<KXPipe>();
             pipe->init();
             manager.addEndPoint(pipe.get(), &handler);
             write(*pipe);
         }
         fault.completes([&] { look(manager); });
         look(manager);
         EXPECT_EQ(handler.bytes, many);
         EXPECT_EQ(look(manager), 0);
         for (auto& pipe : pipes)
             EXPECT_EQ(manager.removeEndPoint(pipe.get()), STATUS_OK);
     }},

    {"KXEndPointManager", "waitForEndPoints_beside_a_closed_file_that_is_held", "the end point is served",
     [](Fault& fault) {
         KXPipe pipe;
         pipe.init();
         KXEndPointManager manager;
         Handler handler;
         manager.addEndPoint(&pipe, &handler);
         write(pipe);
         const int held = fcntl(pipe.getReadEndPointID(), F_DUPFD_CLOEXEC, 0); // as a forked child has one
         pipe.reconnect();
         fault.during([&] { return look(manager); });
         if (handler.disconnected > 0)
             EXPECT_EQ(manager.waitForEndPoints(KXTick::getTickCount() + 5000, 0), 1);
         expectServes(manager, pipe, handler);
         close(held);
         EXPECT_EQ(manager.removeEndPoint(&pipe), STATUS_OK);
     }},

    {"KXEndPointManager", "waitForEndPoints_of_one_that_is_lost", "it is told once and comes back",
     [](Fault& fault) {
         KXPipe pipe;
         pipe.init();
         KXEndPointManager manager;
         Handler handler;
         manager.addEndPoint(&pipe, &handler);
         pipe.reconnect(); // another descriptor, which the manager has to find
         fault.during([&] { return look(manager); });
         if (handler.disconnected > 0)
             EXPECT_EQ(manager.waitForEndPoints(KXTick::getTickCount() + 5000, 0), 1);
         EXPECT_LE(handler.disconnected, 1);
         EXPECT_EQ(handler.reconnected, handler.disconnected);
         expectServes(manager, pipe, handler);
         EXPECT_EQ(manager.removeEndPoint(&pipe), STATUS_OK);
     }},
};

const Operation utilityOperations[] = {
    {"KXDebug", "insertNewDebugSection", "throws std::bad_alloc; a later call registers the section",
     [](Fault& fault) {
         static int sections = 0;
         const std::string name = "a section with a long name " + std::to_string(++sections);
         const auto insert = [&] { KXDebug::insertNewDebugSection(name); };
         fault.completes(insert);
         const unsigned int key = KXDebug::insertNewDebugSection(name);
         EXPECT_EQ(KXDebug::insertNewDebugSection(name), key);
         KXDebug::debugPrintError(1, key, "text");
         EXPECT_THAT(fault.getLines(), HasSubstr("[" + name + ":1] text\n"));
     },
     Operation::LeavesMemory},

    {"KXDebug", "debugPrintError", "the line is printed, or counted as lost; the next one is printed",
     [](Fault& fault) {
         static const unsigned int key = KXDebug::insertNewDebugSection("faults");
         fault.during([] { KXDebug::debugPrintError(1, key, "number %d", 1); });
         const bool isLost = fault.getLines().find("[faults:1] number 1\n") == std::string::npos;
         KXDebug::debugPrintError(1, key, "number %d", 2);
         EXPECT_THAT(fault.getLines(), HasSubstr("[faults:1] number 2\n"));
         EXPECT_EQ(fault.getLines().find("[kx_debug:1] 1 line lost\n") != std::string::npos, isLost);
         if (fault.isOfMemory())
             EXPECT_FALSE(isLost);
     }},

    {"KXDebug", "debugPrintError_of_a_long_line", "without memory only its beginning is printed",
     [](Fault& fault) {
         static const unsigned int key = KXDebug::insertNewDebugSection("faults");
         static const std::string text(2000, 'x');
         fault.during([] { KXDebug::debugPrintError(1, key, "%s", text.c_str()); });
         if (!fault.hasHappened() || fault.isOfMemory())
             EXPECT_THAT(fault.getLines(), HasSubstr("[faults:1] xxxxx"));
         KXDebug::debugPrintError(1, key, "number %d", 2);
         EXPECT_THAT(fault.getLines(), HasSubstr("[faults:1] number 2\n"));
     }},

    {"KXString", "toString", "allocates nothing",
     [](Fault& fault) { fault.during([] { EXPECT_EQ(toString(-2147483647 - 1), "-2147483648"); }); }},

    {"KXTick", "getTickCount", "does not fail",
     [](Fault& fault) {
         const unsigned int before = KXTick::getTickCount();
         EXPECT_LT(fault.during([] { return KXTick::getTickCount(); }) - before, 100000U);
     }},
};

} // namespace

} // namespace KX::test
