#include "events/KXVersion.h"

#include <cstdio>

int main() {
    const int version = KX::getLibraryVersion();
    const char* const state = version < KXAPI_EVENTS_VERSION   ? "older"
                              : version > KXAPI_EVENTS_VERSION ? "newer"
                                                               : "the same";
    std::printf("compiled with %s, the library is %s\n", KXAPI_EVENTS_VERSION_STRING, state);
}
