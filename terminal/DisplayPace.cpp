#include "terminal/DisplayPace.h"

#include <utility>

namespace Terminal {

DisplayPace::DisplayPace(QObject* parent) : QObject(parent) {
    timer.setSingleShot(true);
    connect(&timer, &QTimer::timeout, this, &DisplayPace::flush);
}

void DisplayPace::take(const ClassifiedEvents& events) {
    waiting.insert(waiting.end(), events.begin(), events.end());
    if (timer.isActive())
        return;
    const qint64 elapsedMs = sinceLast.isValid() ? sinceLast.elapsed() : shortestIntervalMs;
    if (elapsedMs >= shortestIntervalMs)
        flush();
    else
        timer.start(shortestIntervalMs - static_cast<int>(elapsedMs));
}

void DisplayPace::flush() {
    timer.stop();
    if (waiting.empty())
        return;
    sinceLast.start();
    emit due(std::exchange(waiting, {}));
}

} // namespace Terminal
