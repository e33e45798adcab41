#pragma once

#include "events/KXEvent.h"

namespace KX {

/// Holds the contents of an event of any class; what queues store and return. Class number 7.
///
/// A holder made from an event takes over the event's \c eventClass, so a consumer sees by it what was posted,
/// and reads the fields of that class; the others stand at their defaults. The four flags are never taken over.
class KX_EVENTS_API KXSomeEvent : public KXToolkitEvent, public KXNavigationEvent, public KXSignal {
public:
    KXSomeEvent();

    /// Takes over what an event of the class that \p source.eventClass tells carries. This is how every queue
    /// stores an event; it is implicit, so that an event can be given where a holder is asked for.
    ///
    /// A class number other than 0 to 7 is reported on standard error; the holder then has the event's type,
    /// \c sourceClass 0, its own class number 7 and defaults elsewhere.
    /// \throws std::bad_cast  \p source claims a class that it is not
    KXSomeEvent(KXEvent& source);

    /// Copies all fields but the four flags, which are false in the copy.
    KXSomeEvent(const KXSomeEvent& other);

    KXSomeEvent& operator=(const KXSomeEvent& other);
    ~KXSomeEvent() override;

    int sourceClass = 0; ///< class number of the event that was first put into a holder
};

} // namespace KX
