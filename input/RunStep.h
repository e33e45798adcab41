#pragma once

#include "events/DiagnosticLine.h"
#include "platform/KXThreadSafety.h"

namespace KX {

/// For a handler of an exception: a line on standard error says what was not finished, and why.
[[gnu::cold]] void reportException(const char* aim, const LinePiece& detail);

/// Runs a step of a thread that must go on after an exception, such as the worker and Qt's event loop. An
/// after-post hook or an observer may throw, and memory may be lacking. A step may need a lock that only its
/// caller knows.
/// \return whether the step was finished
template<class Step>
bool runStep(const char* aim, const LinePiece& detail, Step step) KX_NO_THREAD_SAFETY_ANALYSIS {
    try {
        step();
        return true;
    } catch (...) {
        reportException(aim, detail);
        return false;
    }
}

template<class Step>
bool runStep(const char* aim, Step step) {
    return runStep(aim, "", step);
}

} // namespace KX
