#include "terminal/timeline/TimeLineControls.h"

#include "terminal/look/ScreenButton.h"

#include <QHBoxLayout>

namespace Terminal {

namespace {

constexpr int gap = 5;
constexpr int repeatMs = 150;

} // namespace

TimeLineControls::TimeLineControls(QWidget* parent) : QWidget(parent) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(gap);
    legend = addButton(QStringLiteral("?"), nullptr);
    legend->setSymbol(true);
    legend->setCheckable(true);
    lock = addButton(QStringLiteral("Lock\tL"), nullptr);
    lock->setCheckable(true);
    lanes = addButton(QString(), &TimeLineControls::otherLanesWanted);
    row->addStretch(1);
    addMover(QStringLiteral("\u2212\tDown"), &TimeLineControls::zoomedOut);
    addMover(QStringLiteral("+\tUp"), &TimeLineControls::zoomedIn);
    addMover(QStringLiteral("\u25c0\tPgUp"), &TimeLineControls::scrolledBack);
    addMover(QStringLiteral("\u25b6\tPgDn"), &TimeLineControls::scrolledForward);
    live = addButton(QStringLiteral("Live\tEnd"), &TimeLineControls::liveWanted);
    live->setCheckable(true);
    lanes->hide();
    connect(legend, &QAbstractButton::toggled, this, &TimeLineControls::legendToggled);
    connect(lock, &QAbstractButton::clicked, this, &TimeLineControls::lockToggled);
}

ScreenButton* TimeLineControls::addButton(const QString& label, void (TimeLineControls::*wanted)()) {
    auto* button = new ScreenButton(label);
    button->setKeyBelow(true);
    layout()->addWidget(button);
    if (wanted)
        connect(button, &QAbstractButton::clicked, this, wanted);
    return button;
}

ScreenButton* TimeLineControls::addMover(const QString& label, void (TimeLineControls::*wanted)()) {
    ScreenButton* const button = addButton(label, wanted);
    button->setSymbol(true);
    button->setAutoRepeat(true);
    button->setAutoRepeatInterval(repeatMs);
    return button;
}

void TimeLineControls::showLocked(bool locked) {
    for (ScreenButton* button : findChildren<ScreenButton*>())
        button->setKeyWorks(!locked || button == lock);
    lock->setChecked(locked);
}

void TimeLineControls::showLive(bool isLive) {
    live->setChecked(isLive);
}

void TimeLineControls::showOtherLanes(const QString& text) {
    if (!text.isEmpty())
        lanes->setText(text + QStringLiteral("\tTab"));
    lanes->setVisible(!text.isEmpty());
}

ScreenButton& TimeLineControls::legendButton() const {
    return *legend;
}

ScreenButton& TimeLineControls::lockButton() const {
    return *lock;
}

ScreenButton& TimeLineControls::lanesButton() const {
    return *lanes;
}

ScreenButton& TimeLineControls::liveButton() const {
    return *live;
}

} // namespace Terminal
