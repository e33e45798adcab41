#pragma once

#include "events/KXEvent.h"

#include <QWidget>

#include <functional>
#include <vector>

namespace KX {

/// The active window. The library posts the keys of the keypad's frames to it. It is never visible.
///
/// Needs a QApplication and lives on its thread.
class KeyWindow : private QWidget {
public:
    KeyWindow();

    /// Hands out the keys that were posted since the last call, as a toolkit layer reports them at \p tick.
    void takeKeys(unsigned int tick, const std::function<void(KXToolkitEvent&)>& take);

    /// Drops the posted keys.
    void dropKeys();

private:
    bool event(QEvent* event) override;

    struct Key {
        int eventType;
        int osKeyCode;
    };

    std::vector<Key> keys;
};

} // namespace KX
