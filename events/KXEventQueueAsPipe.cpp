#include "events/KXEventQueueAsPipe.h"

#include "events/EventRecord.h"
#include "platform/KXDebug.h"

namespace KX {

namespace {

constexpr int recordSize = sizeof(EventRecord);

void reportError(const char* text) {
    constexpr int errorLevel = 1;
    KXDebug::debugPrintError(errorLevel, KXEventQueue::eventQueueDebugKey, "%s", text);
}

} // namespace

KXEventQueueAsPipe::KXEventQueueAsPipe() {
    // A failure shows in isConnected() and in the first post.
    static_cast<void>(init());
}

KXEventQueueAsPipe::~KXEventQueueAsPipe() = default;

void KXEventQueueAsPipe::postEvent(KXEvent& event) {
    tracePost(event);
    // The pipe takes a record whole or not at all: posting threads need no lock, and a full pipe holds no half
    // record.
    EventRecord record = encodeEvent(event);
    if (writeIntoPipe(record.data(), recordSize) != 0)
        reportError("Class KXPipe has failed to write the data into the pipe ");
    callAfterPostFunction();
}

KXSomeEvent KXEventQueueAsPipe::getNextEvent() {
    KXSomeEvent event;
    if (!isReadable())
        return event;
    EventRecord record;
    if (readFromPipe(record.data(), recordSize) == 0)
        decodeEvent(record, event);
    else
        reportError("class KXPipe has failed to give data to event pointer");
    return event;
}

unsigned int KXEventQueueAsPipe::getSize() {
    return static_cast<unsigned int>(getNoOfBytesAvailable() / recordSize);
}

bool KXEventQueueAsPipe::isEmpty() {
    return !isReadable();
}

} // namespace KX
