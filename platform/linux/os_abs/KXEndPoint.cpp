#include "platform/KXEndPoint.h"
#include "platform/KXEndPointHandler.h"

namespace KX {

KXEndPoint::KXEndPoint() = default;
KXEndPoint::~KXEndPoint() = default;

KXEndPointHandler::~KXEndPointHandler() = default;

} // namespace KX
