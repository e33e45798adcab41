#pragma once

#include "terminal/EventPump.h"

#include <cstdio>

namespace Terminal {

/// Prints classified events, a line each, flushed at once, so that another program can follow them.
///
/// When the reader has gone away the printer falls silent and the terminal goes on.
class EventPrinter {
public:
    /// \p output stays the caller's.
    explicit EventPrinter(std::FILE* output);

    void print(const ClassifiedEvents& events);

private:
    std::FILE* output;
    bool readerIsGone = false;
};

} // namespace Terminal
