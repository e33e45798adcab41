#pragma once

namespace KX {

/// The status numbers that operations return as a plain int. Applications may compare by number or by name.
enum KXStatus : int {
    STATUS_OK = 0,                    ///< done; between classifiers: go on with the next
    STATUS_TIME_GAP_NOT_POSITIVE = 1, ///< an encoder step is not later than the one before
    STATUS_TABLE_NOT_RISING = 3,      ///< the time gaps of an encoder table do not rise strictly
    STATUS_CONSUMED = 11,             ///< a classifier took the event over; it is not posted
    STATUS_REFUSED = 20,              ///< the request is refused, or the event's type is dropped
    STATUS_QUEUE_EMPTY = 23,          ///< the action queue was empty when the call began
    STATUS_OUT_OF_RANGE = 24,         ///< an argument is out of its range
    STATUS_NOT_AN_ENCODER_EVENT = 29, ///< the event is no ENCODER_MOVE_EVENT
    STATUS_DEADLINE_PASSED = 46,      ///< the time was up; actions may be left in the queue
};

} // namespace KX
