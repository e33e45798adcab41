#pragma once

#include "events/KXEvent.h"

#include <QWidget>

#include <vector>

namespace KX {

/// The active window. The library posts the keys of the keypad's frames to it. It is never visible.
///
/// Needs a QApplication and lives on its thread.
class KeyWindow : private QWidget {
public:
    KeyWindow();

    /// The keys that were posted since the last call, as the toolkit layer of a terminal reports them at \p tick.
    std::vector<KXToolkitEvent> takeKeys(unsigned int tick);

    /// Drops the posted keys.
    void dropKeys();

private:
    bool event(QEvent* event) override;

    std::vector<KXToolkitEvent> keys;
};

} // namespace KX
