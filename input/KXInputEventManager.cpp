#include "input/KXInputEventManager.h"

#include "encoder/KXEncoderDynamic.h"
#include "events/EventFields.h"
#include "platform/KXEndPointManager.h"
#include "platform/KXMutex.h"
#include "platform/KXStatus.h"
#include "platform/KXThread.h"
#include "platform/KXTick.h"

#include <cstdlib>
#include <iostream>

namespace KX {

namespace {

// The longest time between two passes of the worker thread, and so the longest delay of a long press, of an
// encoder bundle and of shutting down.
constexpr unsigned int passIntervalMs = 100;

} // namespace

KXInputEventManager* KXInputEventManager::theInstance = nullptr;

KXInputEventManager* KXInputEventManager::createInstance() {
    if (theInstance)
        std::cerr << "Creating new KXInputEventManager instance, but there was already an existing one!"
                  << std::endl;
    else
        theInstance = new KXInputEventManager;
    return theInstance;
}

KXInputEventManager* KXInputEventManager::getInstance() {
    if (!theInstance) {
        std::cerr << "KXInputEventManager::getInstance() called without creating an KXInputEventManager instance "
                     "before."
                  << std::endl
                  << "Use KXInputEventManager::createInstance() in advance to create one!" << std::endl
                  << "Aborting..." << std::endl;
        std::abort();
    }
    return theInstance;
}

void KXInputEventManager::deleteInstance() {
    delete theInstance;
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
    acceptingInput = true;
    setDoubleKeyPressDuration(300);
    setLongKeyPressDuration(2000);
    encoderDynamic = KXEncoderDynamic::instance();
    stopThread = false;
    // What an earlier call made is in use: the worker waits on it, an application holds its end point.
    if (!endPointManager)
        endPointManager = new KXEndPointManager;
    if (!inputEventsQueue)
        inputEventsQueue = KXEventQueue::create(KXEventQueue::EVENT_QUEUE_AS_PIPE);
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

void KXInputEventManager::runWorker() {
    while (!stopThread) {
        endPointManager->waitForEndPoints(KXTick::getTickCount() + passIntervalMs, 0);
        if (!mutex || !mutex->lock())
            continue;
        const unsigned int now = KXTick::getTickCount();
        sendLongPressEvent(now);
        sendEncoderMoveEvent(now);
        mutex->unlock();
    }
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
    acceptingInput = accept;
    return STATUS_OK;
}

int KXInputEventManager::postToEventQueue(KXEvent& event) {
    if (inputEventsQueue)
        inputEventsQueue->postEvent(event);
    return STATUS_OK;
}

} // namespace KX
