#include "terminal/DisplayPace.h"

#include <utility>

namespace Terminal {

DisplayPace::DisplayPace(QObject* parent) : QObject(parent), pace([this] { flush(); }) {}

void DisplayPace::take(const KX::KXInputEvent& event) {
    waiting.push_back(event);
    // Posted, so that the first event of a turn waits for the others of the same turn, and not they for the next
    // refresh.
    if (waiting.size() == 1)
        QMetaObject::invokeMethod(
            this, [this] { pace.request(); }, Qt::QueuedConnection);
}

void DisplayPace::flush() {
    pace.stop();
    if (waiting.empty())
        return;
    pace.noteRefresh();
    emit due(std::exchange(waiting, {}));
}

} // namespace Terminal
