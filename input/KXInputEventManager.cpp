#include "input/KXInputEventManager.h"

#include "encoder/KXEncoderDynamic.h"
#include "events/DiagnosticLine.h"
#include "events/EventFields.h"
#include "input/Observation.h"
#include "input/RunStep.h"
#include "platform/KXEndPointManager.h"
#include "platform/KXMutex.h"
#include "platform/KXStatus.h"
#include "platform/KXThread.h"
#include "platform/KXTick.h"

#include <chrono>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <thread>

namespace KX {

namespace {

// Between two passes of the worker thread; the longest delay of a long press, an encoder bundle and the shut-down.
constexpr unsigned int passIntervalMs = 100;

std::atomic<unsigned int> queuesMade{0};

} // namespace

std::atomic<KXInputEventManager*> KXInputEventManager::theInstance{nullptr};

KXInputEventManager* KXInputEventManager::createInstance() {
    if (theInstance)
        writeLine(std::cerr,
                  {"Creating new KXInputEventManager instance, but there was already an existing one!"});
    else
        theInstance = new KXInputEventManager;
    return theInstance;
}

KXInputEventManager* KXInputEventManager::getInstance() {
    if (!theInstance) {
        writeLine(std::cerr, {"KXInputEventManager::getInstance() called without creating an KXInputEventManager "
                              "instance before."});
        writeLine(std::cerr, {"Use KXInputEventManager::createInstance() in advance to create one!"});
        writeLine(std::cerr, {"Aborting..."});
        std::abort();
    }
    return theInstance;
}

bool KXInputEventManager::hasInstance() {
    return theInstance != nullptr;
}

void KXInputEventManager::deleteInstance() {
    delete theInstance.load();
    theInstance = nullptr;
}

KXInputEventManager::KXInputEventManager() {
    try {
        initialize();
    } catch (...) {
        deinitialize();
        throw;
    }
}

KXInputEventManager::~KXInputEventManager() {
    deinitialize();
}

int KXInputEventManager::initialize() {
    acceptInput(true);
    setDoubleKeyPressDuration(defaultDoublePressMs);
    setLongKeyPressDuration(defaultLongPressMs);
    if (!encoderDynamic) // the worker may read it
        encoderDynamic = KXEncoderDynamic::instance();
    stopThread = false;
    // Objects of an earlier call are in use: the worker waits on one, the application on the other's end point.
    if (!endPointManager)
        endPointManager = new KXEndPointManager;
    if (!inputEventsQueue) {
        inputEventsQueue = KXEventQueue::create(KXEventQueue::EVENT_QUEUE_AS_PIPE);
        inputEventsQueueNumber = ++queuesMade;
    }
    initializeOSCodeToKXCodeMap();
    if (!thread)
        startWorker();
    return STATUS_OK;
}

void KXInputEventManager::startWorker() {
    if (!mutex)
        mutex = KXMutex::create();
    thread = KXThread::create("inputEventMgr");
    if (!thread)
        return;
    thread->setEntryFunction(&inputEventManagerThreadFunc, this);
    thread->start(0, 0);
}

void KXInputEventManager::deinitialize() {
    stopThread = true;
    if (thread) {
        thread->stopAndWait();
        delete thread;
        thread = nullptr;
    }
    delete mutex;
    mutex = nullptr;
    delete endPointManager;
    endPointManager = nullptr;
    delete inputEventsQueue;
    inputEventsQueue = nullptr;
    delete encoderDynamic;
    encoderDynamic = nullptr;
}

void* KXInputEventManager::inputEventManagerThreadFunc(void* manager) {
    static_cast<KXInputEventManager*>(manager)->runWorker();
    return nullptr;
}

void reportException(const char* aim, const LinePiece& detail) {
    const auto write = [&](const char* reason) {
        writeLine(std::cerr, {"KXInputEventManager: Failed to ", aim, LinePiece(detail.text), ": ", reason});
    };
    try {
        throw;
    } catch (const std::exception& exception) {
        write(exception.what());
    } catch (...) {
        write("unknown exception");
    }
}

void KXInputEventManager::runWorker() {
    while (!stopThread) {
        const bool hasWaited = runStep("wait for end points", [this] {
            endPointManager->waitForEndPoints(KXTick::getTickCount() + passIntervalMs, 0);
        });
        if (!hasWaited) // the next wait may fail, too: the worker must not spin
            std::this_thread::sleep_for(std::chrono::milliseconds(passIntervalMs));
        runStep("tell the observer that a pass is due", tellPassDue);
        makePass();
    }
}

void KXInputEventManager::makePass() {
    if (!mutex || !mutex->lock())
        return;
    {
        const Observation observation(Observation::mutexIsHeld);
        const unsigned int now = KXTick::getTickCount();
        if (observation)
            runStep(
                "tell the observer of a pass", [&] { observation->onPass(now); });
        runStep(
            "finish the post of a long press", [&]() KX_REQUIRES(mutex) { sendLongPressEvent(now); });
        runStep("finish the post of encoder steps", [&]() KX_REQUIRES(mutex) { sendEncoderMoveEvent(now); });
    }
    mutex->unlock();
}

int KXInputEventManager::inputEventOccurred(KXInputEvent& event) {
    // Refused input waits for nobody, but an observer sees it in the manager's order.
    if (acceptingInput || inputObserver.load(std::memory_order_relaxed)) {
        const KXAutoLock lock(mutex);
        const Observation observation(Observation::mutexIsHeld);
        if (observation)
            observation.tellInput(event);
        if (acceptingInput)
            return classify(event);
    }
    writeLine(std::cout, {"KXInputEventManager::inputEventOccurred: Input IGNORED."});
    return STATUS_OK;
}

int KXInputEventManager::classify(KXInputEvent& event) {
    int status = convertToEncoderEvents(event);
    if (status == STATUS_OK)
        status = convertToDoublePressEvent(event);
    if (status == STATUS_OK)
        status = markPossibleLongPress(event);
    if (status == STATUS_OK)
        post(event);
    return status;
}

void KXInputEventManager::post(KXEvent& event) {
    if (inputEventsQueue)
        inputEventsQueue->postEvent(event);
}

KXEventQueue* KXInputEventManager::getInputEventsQueue() {
    return inputEventsQueue;
}

KXInputEvent KXInputEventManager::getNextEvent() {
    KXInputEvent event;
    if (inputEventsQueue) {
        const KXSomeEvent next = inputEventsQueue->getNextEvent();
        copyEventFields(event, next);
        copyInputFields(event, next);
    }
    return event;
}

bool KXInputEventManager::hasEvents() {
    return inputEventsQueue && !inputEventsQueue->isEmpty();
}

int KXInputEventManager::acceptInput(bool accept) {
    const Observation observation(this);
    if (observation)
        observation->onSetting(KXInputSetting::AcceptInput, accept);
    acceptingInput = accept;
    return STATUS_OK;
}

int KXInputEventManager::postToEventQueue(KXEvent& event) {
    const Observation observation(this);
    if (observation)
        observation->onPostedEvent(event);
    post(event);
    return STATUS_OK;
}

} // namespace KX
