#include "terminal/window/DisplayPace.h"

#include <utility>

namespace Terminal {

RefreshPace::RefreshPace(std::function<void()> refreshFunction) : refresh(std::move(refreshFunction)) {
    timer.setSingleShot(true);
    timer.callOnTimeout([this] { refresh(); });
}

void RefreshPace::request() {
    if (timer.isActive())
        return;
    const qint64 elapsedMs = sinceRefresh.isValid() ? sinceRefresh.elapsed() : shortestIntervalMs;
    if (elapsedMs >= shortestIntervalMs)
        refresh();
    else
        timer.start(shortestIntervalMs - static_cast<int>(elapsedMs));
}

void RefreshPace::requestIn(int ms) {
    timer.start(ms);
}

void RefreshPace::noteRefresh() {
    sinceRefresh.start();
}

void RefreshPace::stop() {
    timer.stop();
}

bool RefreshPace::isPending() const {
    return timer.isActive();
}

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
