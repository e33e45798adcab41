#pragma once

#include "events/KXEvent.h"

#include <QApplication>
#include <QWidget>

#include <vector>

namespace Replay {

/// Qt without a display and without messages, for a program that needs only the key events of a keypad.
class OffscreenToolkit {
public:
    OffscreenToolkit();

private:
    int argumentCount = 1;
    char name[9] = "kxreplay";
    char* arguments[2] = {name, nullptr};
    QApplication application;
};

/// The active window. The library posts the keys of the keypad's frames to it. It is never visible.
///
/// Needs a QApplication and lives on its thread.
class KeyWindow : private QWidget {
public:
    KeyWindow();

    /// The keys that were posted since the last call, as the toolkit layer of a terminal reports them at \p tick.
    std::vector<KX::KXToolkitEvent> takeKeys(unsigned int tick);

    /// Drops the posted keys.
    void dropKeys();

private:
    bool event(QEvent* event) override;

    std::vector<KX::KXToolkitEvent> keys;
};

} // namespace Replay
