#include "terminal/session/RecordingState.h"

#include "terminal/look/Theme.h"

#include <QFileInfo>
#include <QPalette>
#include <QStringList>

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
    return hasRecordingFailed() || hasSaveFailed;
}

bool RecordingState::hasRecordingFailed() const {
    return source.writesFile && !source.isRecording();
}

void RecordingState::noteSave(const SavedSessions::Outcome& outcome) {
    hasSaveFailed = !outcome.problem.isEmpty();
    save = hasSaveFailed ? QStringLiteral("NOT SAVED: %1").arg(reasonOf(outcome.problem))
                         : QStringLiteral("saved %1").arg(QFileInfo(outcome.path).fileName());
}

QString RecordingState::text(qint64 elapsedMs) const {
    QStringList parts;
    if (hasRecordingFailed())
        parts << QStringLiteral("NOT RECORDING: %1").arg(reasonOf(source.problem()));
    else if (source.writesFile)
        parts << QStringLiteral("\u25CF REC %1").arg(lengthOf(elapsedMs));
    if (hasRecordingFailed() && hasSaveFailed)
        parts << QStringLiteral("NOT SAVED"); // there is no room for a second reason
    else if (!save.isEmpty())
        parts << save;
    else if (source.keptMinutes > 0)
        parts << QStringLiteral("keeps %1 min, Ctrl+S saves").arg(source.keptMinutes);
    return parts.join(QStringLiteral("   "));
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

void RecordingLabel::tellSaved(const SavedSessions::Outcome& outcome) {
    state.noteSave(outcome);
    refresh();
}

void RecordingLabel::refresh() {
    setText(state.text(sinceStart.elapsed()));
    QPalette colours = palette();
    colours.setColor(QPalette::WindowText, state.hasFailed() ? Theme::alarm() : Theme::text());
    setPalette(colours);
}

} // namespace Terminal
