#include "terminal/session/EventPrinter.h"

#include "tools/eventline/EventLine.h"

#include <string_view>

namespace Terminal {

EventPrinter::EventPrinter(std::FILE* outputFile) : output(outputFile) {}

void EventPrinter::print(const ClassifiedEvents& events) {
    for (const KX::KXInputEvent& event : events) {
        if (readerIsGone)
            return;
        const EventLine::Line line(event);
        const std::string_view text = line.textWithLineEnd();
        const bool written = std::fwrite(text.data(), 1, text.size(), output) == text.size();
        readerIsGone = !written || std::fflush(output) != 0;
    }
}

} // namespace Terminal
