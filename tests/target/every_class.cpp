// Includes every class with virtual functions; the compiler prints their tables. Pure functions have no name
// there, so each abstract class NAME has an ImplementedNAME here. It declares the functions in reverse order, so
// that the order in the tables is the library's.

#include "actions/KXActionQueue.h"
#include "encoder/KXEncoderDynamic.h"
#include "events/KXEventQueueAsPipe.h"
#include "events/KXEventQueueAsQueue.h"
#include "events/KXSomeEvent.h"
#include "input/CANRemoteHandler.h"
#include "input/KXInputEventManager.h"
#include "input/KXInputObserver.h"
#include "platform/KXAction.h"
#include "platform/KXCANMessage.h"
#include "platform/KXCANRaw.h"
#include "platform/KXDebug.h"
#include "platform/KXEndPointHandler.h"
#include "platform/KXEndPointManager.h"
#include "platform/KXMutex.h"
#include "platform/KXPipe.h"
#include "platform/KXThread.h"
#include "platform/KXTick.h"

namespace KX {

class ImplementedKXAction : public KXAction {
    ~ImplementedKXAction() override;
    void execute(void* argument) override;
    bool isReady() override;
};

class ImplementedKXCANRaw : public KXCANRaw {
    int readFrame(KXCANMessage& message) override;
    int configure(unsigned char setting) override;
    int reconnect() override;
    bool isConnected() const override;
    int getWriteEndPointID() const override;
    int getReadEndPointID() const override;
    ~ImplementedKXCANRaw() override;
};

class ImplementedKXEndPoint : public KXEndPoint {
    int reconnect() override;
    bool isConnected() const override;
    int getWriteEndPointID() const override;
    int getReadEndPointID() const override;
    ~ImplementedKXEndPoint() override;
};

class ImplementedKXEndPointHandler : public KXEndPointHandler {
    ~ImplementedKXEndPointHandler() override;
    void onEndPointDisconnected(KXEndPoint* endPoint) override;
    void onEndPointReconnected(KXEndPoint* endPoint) override;
    void onEndPointReadable(KXEndPoint* endPoint, KXEndPointManager* manager) override;
};

class ImplementedKXEventQueue : public KXEventQueue {
    bool isEmpty() override;
    unsigned int getSize() override;
    KXSomeEvent getNextEvent() override;
    void postEvent(KXEvent& event) override;
    ~ImplementedKXEventQueue() override;
};

class ImplementedKXInputObserver : public KXInputObserver {
    void onPassDue() override;
    void onPass(unsigned int tick) override;
    void onFrame(const KXCANMessage& frame) override;
    void onKeypad(const CANRemoteOptions& options) override;
    void onKeyMapping(const std::map<int, int>& mapping) override;
    void onSpeedTable(const std::vector<KXEncoderDynamicPair>& pairs) override;
    void onSetting(KXInputSetting setting, std::int64_t value) override;
    void onPostedEvent(const KXEvent& event) override;
    void onInputEvent(const KXInputEvent& event) override;
    void onToolkitEvent(const KXToolkitEvent& event) override;
    ~ImplementedKXInputObserver() override;
};

class ImplementedKXMutex : public KXMutex {
    void unlock() override;
    bool lock() override;
    ~ImplementedKXMutex() override;
};

class ImplementedKXThread : public KXThread {
    int stopAndWait() override;
    int start(int priority, unsigned int stackSize) override;
    void setEntryFunction(void* (*function)(void*), void* argument) override;
    ~ImplementedKXThread() override;
};

} // namespace KX
