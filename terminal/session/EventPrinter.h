#pragma once

#include "terminal/session/EventPump.h"

#include <cstdio>

namespace Terminal {

/// Prints each classified event as a line and flushes it at once, so that another program can follow.
///
/// When the reader goes away, the printer stops printing and the terminal goes on.
class EventPrinter {
public:
    /// The caller keeps ownership of \p output.
    explicit EventPrinter(std::FILE* output);

    void print(const ClassifiedEvents& events);

private:
    std::FILE* output;
    bool readerIsGone = false;
};

} // namespace Terminal
