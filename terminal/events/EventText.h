#pragma once

#include "events/KXEvent.h"

#include <QString>

#include <cstdio>

namespace Terminal {

/// The words with which the views show the fields of a classified event. A field without a value is shown as a
/// dash.
namespace EventText {

QString name(const KX::KXEvent& event);

/// The number of the class and its name: "3 input".
QString eventClass(const KX::KXEvent& event);

/// The key code with the name of its key, "0 Esc". For mouse events the button, "Left button".
QString key(const KX::KXInputEvent& event);

/// The toolkit's key in hexadecimal, as in the toolkit's tables: "0x1000000".
QString toolkitKey(const KX::KXInputEvent& event);

/// The accelerated increment of encoder moves.
QString value(const KX::KXEvent& event);

QString count(const KX::KXEvent& event);

} // namespace EventText

/// Prints each classified event as a line and flushes it at once, so that another program can follow.
///
/// When the reader goes away, the printer stops printing and the terminal goes on.
class EventPrinter {
public:
    /// The caller keeps ownership of \p output.
    explicit EventPrinter(std::FILE* output);

    void print(const KX::KXInputEvent& event);

private:
    std::FILE* output;
    bool readerIsGone = false;
};

} // namespace Terminal
