#include "terminal/session/ReplayTransport.h"

#include <QTimer>

#include <algorithm>
#include <utility>

namespace Terminal {

ReplayTransport::ReplayTransport(Stage ownStage) : stage(std::move(ownStage)) {
    makePlayer();
}

ReplayTransport::~ReplayTransport() = default;

void ReplayTransport::makePlayer() {
    running = stage.makePlayer();
    running->endAt(toMs);
    connect(running.get(), &SessionPlayer::stepped, this, &ReplayTransport::takeStep);
    connect(running.get(), &SessionPlayer::progressed, this, [this] {
        if (!isGoingBack)
            emit changed();
    });
    connect(running.get(), &SessionPlayer::finished, this, [this] {
        emit changed();
        emit finished();
    });
}

void ReplayTransport::setPart(std::uint64_t from, std::uint64_t to) {
    fromMs = from;
    toMs = to;
    running->endAt(toMs);
}

void ReplayTransport::start() {
    playOutOfSight();
    running->start();
}

// The part begins with what happens at its first moment.
void ReplayTransport::playOutOfSight() {
    if (fromMs <= running->startMs())
        return;
    isOutOfSight = true;
    running->playUntil(fromMs - 1);
    stage.takeEvents();
    isOutOfSight = false;
    running->playUntil(fromMs);
}

bool ReplayTransport::takeEvent() {
    if (isOutOfSight)
        return false;
    mostEvents = std::max(mostEvents, eventCount);
    ++eventCount;
    return true;
}

void ReplayTransport::takeStep() {
    const std::size_t before = eventCount;
    stage.takeEvents();
    if (eventCount > before && (stops.empty() || eventCount > stops.back()))
        stops.push_back(eventCount);
}

bool ReplayTransport::takeKey(int toolkitKey) {
    switch (toolkitKey) {
    case Qt::Key_Space: togglePause(); return true;
    case Qt::Key_Period: stepForward(); return true;
    case Qt::Key_Comma: stepBack(); return true;
    case Qt::Key_Right: seekBy(seekMs); return true;
    case Qt::Key_Left: seekBy(-static_cast<std::int64_t>(seekMs)); return true;
    default: return false;
    }
}

// At the end it begins anew.
void ReplayTransport::togglePause() {
    if (putOff([=] { togglePause(); }))
        return;
    if (state() == State::AtEnd)
        goBackTo([this] { running->start(); });
    else if (running->isPaused())
        running->start();
    else
        running->pause();
    emit changed();
}

void ReplayTransport::stepForward() {
    if (putOff([=] { stepForward(); }))
        return;
    running->pause();
    const std::size_t before = eventCount;
    while (eventCount == before && running->playNext()) {
    }
    emit changed();
}

void ReplayTransport::stepBack() {
    if (putOff([=] { stepBack(); }))
        return;
    running->pause();
    const auto last = std::lower_bound(stops.begin(), stops.end(), eventCount);
    returnToEvent(last == stops.begin() ? 0 : *(last - 1));
}

void ReplayTransport::returnToEvent(std::size_t count) {
    goBackTo([this, count] {
        while (eventCount < count && running->playNext()) {
        }
    });
}

void ReplayTransport::seekBy(std::int64_t ms) {
    if (putOff([=] { seekBy(ms); }))
        return;
    const auto target = static_cast<std::int64_t>(positionMs()) + ms;
    seekTo(static_cast<std::uint64_t>(std::max<std::int64_t>(target, 0)));
}

void ReplayTransport::seekTo(std::uint64_t ms) {
    if (putOff([=] { seekTo(ms); }))
        return;
    const std::uint64_t target = std::max(fromMs, running->startMs()) + std::min(ms, lengthMs());
    if (target >= running->nowMs()) {
        running->playUntil(target);
        return;
    }
    const bool wasPaused = running->isPaused();
    goBackTo([this, target, wasPaused] {
        running->playUntil(target);
        if (!wasPaused)
            running->start();
    });
}

// Later, since the views that are made anew may be those that have just asked for it.
void ReplayTransport::goBackTo(std::function<void()> play) {
    isGoingBack = true;
    running->pause();
    QTimer::singleShot(0, this, [this, play = std::move(play)] {
        running.reset();
        mostEvents = std::max(mostEvents, eventCount);
        eventCount = 0;
        stage.renew();
        makePlayer();
        playOutOfSight();
        play();
        isGoingBack = false;
        emit changed();
        while (!isGoingBack && !putOffCalls.empty()) {
            const auto call = putOffCalls.front();
            putOffCalls.pop_front();
            call();
        }
    });
}

// What the viewer asks for while the replay goes back counts from the place that it goes to.
bool ReplayTransport::putOff(std::function<void()> call) {
    if (isGoingBack)
        putOffCalls.push_back(std::move(call));
    return isGoingBack;
}

ReplayTransport::State ReplayTransport::state() const {
    if (running->isAtEnd())
        return State::AtEnd;
    return running->isPaused() ? State::Paused : State::Playing;
}

std::uint64_t ReplayTransport::positionMs() const {
    const std::uint64_t beginMs = std::max(fromMs, running->startMs());
    return std::max(running->nowMs(), beginMs) - beginMs;
}

std::uint64_t ReplayTransport::lengthMs() const {
    const std::uint64_t beginMs = std::max(fromMs, running->startMs());
    return std::max(running->lastMs(), beginMs) - beginMs;
}

} // namespace Terminal
