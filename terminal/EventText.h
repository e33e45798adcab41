#pragma once

#include "events/KXEvent.h"

#include <QString>

/// How the views word the fields of a classified event. A dash stands for what an event does not have.
namespace Terminal::EventText {

QString name(const KX::KXEvent& event);

/// The number of the class and what it means: "3 input".
QString eventClass(const KX::KXEvent& event);

/// The library's key with its name, "0 Esc", or for mouse events the button, "Left button".
QString key(const KX::KXInputEvent& event);

/// The toolkit's key as its tables write it: "0x1000000".
QString toolkitKey(const KX::KXInputEvent& event);

/// The accelerated increment of encoder moves.
QString value(const KX::KXEvent& event);

QString count(const KX::KXEvent& event);

} // namespace Terminal::EventText
