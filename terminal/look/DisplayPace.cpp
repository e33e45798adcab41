#include "terminal/look/DisplayPace.h"

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

void DisplayPace::drop() {
    pace.stop();
    waiting.clear();
}

} // namespace Terminal
