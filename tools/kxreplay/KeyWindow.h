#pragma once

#include "events/KXEvent.h"

#include <QApplication>
#include <QWidget>

#include <vector>

namespace Replay {

/// Qt without a display and without a word, for a program that has no other use for it than the keys of a keypad.
class OffscreenToolkit {
public:
    OffscreenToolkit();

private:
    int argumentCount = 1;
    char name[9] = "kxreplay";
    char* arguments[2] = {name, nullptr};
    QApplication application;
};

/// The active window, to which the library posts the keys that it makes of a keypad's frames. It is never shown.
///
/// Needs a QApplication, and lives on its thread.
class KeyWindow : private QWidget {
public:
    KeyWindow();

    /// The keys that were posted since the last call, as a terminal's toolkit layer reports them at \p tick.
    std::vector<KX::KXToolkitEvent> takeKeys(unsigned int tick);

    /// Forgets them.
    void dropKeys();

private:
    bool event(QEvent* event) override;

    std::vector<KX::KXToolkitEvent> keys;
};

} // namespace Replay
