#pragma once

namespace Terminal {

/// While this object lives, a window system that Qt cannot start ends the process with one line on standard error
/// and status 1. Qt itself would print a page and abort, and a missing display would leave a core dump.
class WindowSystemStart {
public:
    WindowSystemStart();
    ~WindowSystemStart();

    WindowSystemStart(const WindowSystemStart&) = delete;
    WindowSystemStart& operator=(const WindowSystemStart&) = delete;
};

} // namespace Terminal
