#include "terminal/session/RecordingState.h"

#include "terminal/look/Theme.h"

#include <QPalette>

#include <utility>

namespace Terminal {

namespace {

QString lengthOf(qint64 ms) {
    const qint64 seconds = ms / 1000;
    const QString minutesAndSeconds = QStringLiteral("%1:%2")
                                          .arg(seconds / 60 % 60, seconds < 3600 ? 1 : 2, 10, QLatin1Char('0'))
                                          .arg(seconds % 60, 2, 10, QLatin1Char('0'));
    return seconds < 3600 ? minutesAndSeconds : QStringLiteral("%1:%2").arg(seconds / 3600).arg(minutesAndSeconds);
}

// The file's name is known to who started the recording; there is no room for it.
QString reasonOf(const QString& problem) {
    return problem.section(QStringLiteral(": "), -1);
}

} // namespace

RecordingState::RecordingState(Source ownSource) : source(std::move(ownSource)) {}

bool RecordingState::hasFailed() const {
    return source.writesFile && !source.isRecording();
}

QString RecordingState::text(qint64 elapsedMs) const {
    QString text;
    if (hasFailed())
        text = QStringLiteral("NOT RECORDING: %1").arg(reasonOf(source.problem()));
    else if (source.writesFile)
        text = QStringLiteral("\u25CF REC %1").arg(lengthOf(elapsedMs));
    if (source.keptMinutes > 0)
        text += (text.isEmpty() ? QString() : QStringLiteral("  ")) +
                QStringLiteral("keeps %1 min").arg(source.keptMinutes);
    return text;
}

RecordingLabel::RecordingLabel(RecordingState ownState, QWidget* parent)
    : QLabel(parent), state(std::move(ownState)) {
    QFont bold; // its size is the window's
    bold.setBold(true);
    setFont(bold);
    setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    sinceStart.start();
    connect(&everySecond, &QTimer::timeout, this, &RecordingLabel::refresh);
    everySecond.start(1000);
    refresh();
}

void RecordingLabel::refresh() {
    setText(state.text(sinceStart.elapsed()));
    QPalette colours = palette();
    colours.setColor(QPalette::WindowText, state.hasFailed() ? Theme::alarm() : Theme::text());
    setPalette(colours);
}

} // namespace Terminal
