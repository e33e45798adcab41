#include "platform/KXEndPoint.h"

#include "platform/KXEndPointHandler.h"
#include "platform/KXLocks.h"
#include "platform/simulated/ReadableMarks.h"

#include <set>

namespace KX {

namespace {

struct Marks {
    KXStdMutex mutex;
    std::set<const KXEndPoint*> readable KX_GUARDED_BY(mutex);
};

// Never destroyed: static objects of the program may be end points.
Marks& marks() {
    static Marks& theMarks = *new Marks;
    return theMarks;
}

} // namespace

void markReadable(const KXEndPoint* endPoint, bool readable) {
    const KXLockGuard lock(marks().mutex);
    if (readable)
        marks().readable.insert(endPoint);
    else
        marks().readable.erase(endPoint);
}

bool isMarkedReadable(const KXEndPoint* endPoint) {
    const KXLockGuard lock(marks().mutex);
    return marks().readable.count(endPoint) != 0;
}

void forgetMarks() {
    const KXLockGuard lock(marks().mutex);
    marks().readable.clear();
}

KXEndPoint::KXEndPoint() = default;

KXEndPoint::~KXEndPoint() {
    // The next end point may stand at the same address.
    markReadable(this, false);
}

KXEndPointHandler::~KXEndPointHandler() = default;

} // namespace KX
