#include "events/KXVersion.h"

namespace KX {

int getLibraryVersion() {
    return KXAPI_EVENTS_VERSION;
}

} // namespace KX
