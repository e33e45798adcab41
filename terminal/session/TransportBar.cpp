#include "terminal/session/TransportBar.h"

#include "terminal/look/ScreenButton.h"
#include "terminal/look/Sizes.h"
#include "terminal/look/Theme.h"
#include "terminal/session/ReplayTransport.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>

#include <algorithm>

namespace Terminal {

namespace {

constexpr int trackHeight = 12;
constexpr int handleWidth = 8;
constexpr int leastStripWidth = 120;

// "1:03.0"; tenths of a second are the least that anybody aims at with a finger.
QString timeOf(std::uint64_t ms) {
    constexpr std::uint64_t msPerTenth = 100;
    constexpr std::uint64_t tenthsPerMinute = 600;
    const std::uint64_t tenths = ms / msPerTenth;
    return QStringLiteral("%1:%2.%3")
        .arg(tenths / tenthsPerMinute)
        .arg(tenths % tenthsPerMinute / 10, 2, 10, QLatin1Char('0'))
        .arg(tenths % 10);
}

ScreenButton* makeButton(const QString& label, QHBoxLayout& row) {
    auto* button = new ScreenButton(label);
    button->setKeyBelow(true);
    row.addWidget(button);
    return button;
}

} // namespace

SeekStrip::SeekStrip(QWidget* parent) : QWidget(parent) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void SeekStrip::setPosition(std::uint64_t positionMs, std::uint64_t lengthMs) {
    position = positionMs;
    length = lengthMs;
    update();
}

QSize SeekStrip::sizeHint() const {
    return {2 * leastStripWidth, Sizes::of(*this).touch()};
}

QSize SeekStrip::minimumSizeHint() const {
    return {leastStripWidth, Sizes::of(*this).touch()};
}

QRect SeekStrip::track() const {
    return {handleWidth, (height() - trackHeight) / 2, std::max(width() - 2 * handleWidth, 1), trackHeight};
}

void SeekStrip::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    const QRect whole = track();
    const std::uint64_t shown = isPreviewing ? previewed : position;
    const double part =
        length == 0 ? 1 : static_cast<double>(std::min(shown, length)) / static_cast<double>(length);
    const int played = static_cast<int>(part * whole.width());
    painter.fillRect(whole, Theme::outline());
    painter.fillRect(QRect(whole.topLeft(), QSize(played, whole.height())), Theme::accent());
    constexpr int handleHeight = 32;
    painter.fillRect(whole.left() + played - handleWidth / 2, (height() - handleHeight) / 2, handleWidth,
                     handleHeight, Theme::text());
}

void SeekStrip::preview(int x) {
    const QRect whole = track();
    const double part = static_cast<double>(x - whole.left()) / whole.width();
    previewed = static_cast<std::uint64_t>(std::clamp(part, 0.0, 1.0) * static_cast<double>(length));
    update();
}

void SeekStrip::mousePressEvent(QMouseEvent* event) {
    isPreviewing = true;
    preview(event->x());
}

void SeekStrip::mouseMoveEvent(QMouseEvent* event) {
    preview(event->x());
}

void SeekStrip::mouseReleaseEvent(QMouseEvent* event) {
    preview(event->x());
    isPreviewing = false;
    emit chosen(previewed);
}

TransportBar::TransportBar(ReplayTransport& transport, double replaySpeed, QWidget* parent)
    : QWidget(parent), speed(replaySpeed) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(6);
    back = makeButton(QStringLiteral("\u2212 5 s\t\u2190"), *row);
    stepBack = makeButton(QStringLiteral("Back\t,"), *row);
    pause = makeButton(QStringLiteral("Pause\tSpace"), *row);
    step = makeButton(QStringLiteral("Step\t."), *row);
    forward = makeButton(QStringLiteral("+ 5 s\t\u2192"), *row);
    row->addWidget(seekStrip = new SeekStrip, 1);
    row->addWidget(texts = new QLabel);
    texts->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    connect(back, &QAbstractButton::clicked, &transport,
            [&transport] { transport.seekBy(-static_cast<std::int64_t>(ReplayTransport::seekMs)); });
    connect(stepBack, &QAbstractButton::clicked, &transport, &ReplayTransport::stepBack);
    connect(pause, &QAbstractButton::clicked, &transport, &ReplayTransport::togglePause);
    connect(step, &QAbstractButton::clicked, &transport, &ReplayTransport::stepForward);
    connect(forward, &QAbstractButton::clicked, &transport,
            [&transport] { transport.seekBy(ReplayTransport::seekMs); });
    connect(seekStrip, &SeekStrip::chosen, &transport, &ReplayTransport::seekTo);
    connect(&transport, &ReplayTransport::changed, this, [this, &transport] { showState(transport); });
    showState(transport);
}

void TransportBar::showState(const ReplayTransport& transport) {
    const ReplayTransport::State now = transport.state();
    const bool isPlaying = now == ReplayTransport::State::Playing;
    if (isPlaying)
        state = speed == 1 ? QStringLiteral("Playing") : QStringLiteral("Playing \u00D7%1").arg(speed);
    else
        state = now == ReplayTransport::State::Paused ? QStringLiteral("Paused")
                                                      : QStringLiteral("End of the recording");
    time = QStringLiteral("%1 of %2").arg(timeOf(transport.positionMs()), timeOf(transport.lengthMs()));
    pause->setText(isPlaying ? QStringLiteral("Pause\tSpace") : QStringLiteral("Play\tSpace"));
    seekStrip->setPosition(transport.positionMs(), transport.lengthMs());
    texts->setText(state + QLatin1Char('\n') + time);
}

QString TransportBar::stateText() const {
    return state;
}

QString TransportBar::timeText() const {
    return time;
}

} // namespace Terminal
