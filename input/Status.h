#pragma once

namespace KX {

/// Results of the input event manager's operations, as its callers know them by number.
enum Status : int {
    STATUS_OK = 0,
    STATUS_CONSUMED = 11, ///< a classifier took the event over; it is not posted
    STATUS_REFUSED = 20,
};

} // namespace KX
