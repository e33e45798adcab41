#pragma once

namespace Terminal {

/// While it lives, a window system that Qt cannot start ends the process with one line on standard error and
/// status 1. Qt itself would print a page and abort, which leaves a core dump where only a display is missing.
class WindowSystemStart {
public:
    WindowSystemStart();
    ~WindowSystemStart();

    WindowSystemStart(const WindowSystemStart&) = delete;
    WindowSystemStart& operator=(const WindowSystemStart&) = delete;
};

} // namespace Terminal
