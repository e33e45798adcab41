#pragma once

#include <QApplication>

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

} // namespace Replay
