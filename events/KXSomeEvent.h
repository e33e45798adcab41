#pragma once

#include "events/KXEvent.h"

namespace KX {

struct EventParts;

/// Holder for an event of any class. Queues store and return holders. Class number 7.
///
/// A holder made from an event has that event's \c eventClass and the fields of that class. All other fields have
/// their defaults. The four flags are never taken over.
class KX_EVENTS_API KXSomeEvent : public KXToolkitEvent, public KXNavigationEvent, public KXSignal {
public:
    KXSomeEvent();

    /// Takes over the fields of the class that \p source.eventClass names. Implicit, so that an event can be
    /// passed where a holder is expected.
    ///
    /// A class number other than 0 to 7 is reported on standard error. The holder then has class number 7, the
    /// type of \p source, \c sourceClass 0 and defaults elsewhere.
    /// \throws std::bad_cast  \p source claims a class that it is not
    KXSomeEvent(KXEvent& source);

    /// The library's own: the parts of \p source are at hand.
    KX_LOCAL KXSomeEvent(const KXEvent& source, const EventParts& parts);

    /// Copies all fields but the four flags, which are false in the copy.
    KXSomeEvent(const KXSomeEvent& other);

    /// Copies all fields but the four flags.
    KXSomeEvent& operator=(const KXSomeEvent& other);
    ~KXSomeEvent() override;

    int sourceClass = 0; ///< class number of the event that was first put into a holder
};

} // namespace KX
