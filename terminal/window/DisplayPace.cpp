#include "terminal/window/DisplayPace.h"

#include <utility>

namespace Terminal {

DisplayPace::DisplayPace(QObject* parent) : QObject(parent), pace([this] { flush(); }) {}

void DisplayPace::take(const ClassifiedEvents& events) {
    waiting.insert(waiting.end(), events.begin(), events.end());
    pace.request();
}

void DisplayPace::flush() {
    pace.stop();
    if (waiting.empty())
        return;
    pace.noteRefresh();
    emit due(std::exchange(waiting, {}));
}

} // namespace Terminal
