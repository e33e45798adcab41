#pragma once

#include <poll.h>

namespace KX {

/// Waits until a write to an output finds room, which a pipe without room has only when its reader reads. An output
/// that is closed or failed counts as one with room: the write tells what is wrong with it.
/// \param patienceMs  the longest wait; a signal ends it earlier
inline bool waitForRoom(int descriptor, int patienceMs) {
    pollfd query{};
    query.fd = descriptor;
    query.events = POLLOUT;
    int found = poll(&query, 1, patienceMs);
    if (found < 0) // a signal; the second call does not wait, so none interrupts it
        found = poll(&query, 1, 0);
    return found != 0;
}

} // namespace KX
