#pragma once

#include "events/KXEvent.h"

#include <QString>
#include <QtGlobal>

#include <cstdio>

namespace Terminal {

/// The words with which the views show the fields of a classified event. A field without a value is shown as a
/// dash.
namespace EventText {

QString name(const KX::KXEvent& event);

/// The number of the class and its name: "3 input".
QString eventClass(const KX::KXEvent& event);

/// The name of the key, "Esc", or "Key 100" if it has none. For mouse events the button, "Left button".
QString key(const KX::KXInputEvent& event);

/// The key code: "0".
QString keyCode(const KX::KXInputEvent& event);

/// The toolkit's key in hexadecimal, as in the toolkit's tables: "0x1000000".
QString toolkitKey(const KX::KXInputEvent& event);

/// The accelerated increment of encoder moves.
QString value(const KX::KXEvent& event);

QString count(const KX::KXEvent& event);

/// How long after \p previous the event was: "+70 ms". Two threads post events, so the distance may be negative.
QString distance(const KX::KXEvent& event, const KX::KXEvent& previous);

/// "70 ms", "1.25 s", "3:20 min"; with a minus sign if it is negative.
QString duration(qint64 ms);

/// With a sign, and with thin spaces between thousands: "+1\u2009234".
QString signedNumber(qint64 number);

/// With thin spaces between thousands, and with a true minus sign if it is negative.
QString grouped(qint64 number);

} // namespace EventText

/// Prints each classified event as a line and flushes it at once, so that another program can follow.
///
/// When the reader goes away, the printer stops printing and the terminal goes on.
class EventPrinter {
public:
    /// The caller keeps ownership of \p output.
    explicit EventPrinter(std::FILE* output);

    /// Prints nothing more after a line could not be written.
    void print(const KX::KXInputEvent& event);

    /// Why a line could not be written; 0: all were, or the reader of a pipe has gone.
    int error() const { return failure; }

private:
    std::FILE* output;
    bool hasFailed = false;
    int failure = 0;
};

} // namespace Terminal
