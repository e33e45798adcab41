#include "terminal/session/SavedSessions.h"

#include "events/KXEvent.h"
#include "events/KXEventType.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <unistd.h>
#include <utility>

namespace Terminal {

namespace {

const auto beginning = QStringLiteral("kxterminal-");
const auto ending = QStringLiteral(".kxr");

// Whether somebody else has given the file its name.
bool isForeign(const QFileInfo& file) {
    static const QRegularExpression ownName(
        QStringLiteral("^kxterminal-\\d{4}-\\d\\d-\\d\\d-\\d{6}(-\\d+)?\\.kxr$"));
    return !ownName.match(file.fileName()).hasMatch();
}

bool isFile(const QString& place) {
    return place.endsWith(ending) && !QFileInfo(place).isDir();
}

QString folderOf(const QString& place) {
    return isFile(place) ? QFileInfo(place).path() : place;
}

} // namespace

SavedSessions::SavedSessions(const QString& place, int mostFiles, Save save)
    : folder(folderOf(place)), stem(isFile(place) ? QFileInfo(place).completeBaseName() : QString()),
      most(mostFiles), saveInto(std::move(save)) {}

QString SavedSessions::whyUnusable(const QString& place) {
    const QByteArray folderName = folderOf(place).toLocal8Bit();
    // The name with a dot is only found in a folder.
    const bool isUsable = access((folderName + "/.").constData(), W_OK | X_OK) == 0;
    return isUsable ? QString()
                    : QStringLiteral("%1: %2").arg(place, QString::fromLocal8Bit(std::strerror(errno)));
}

QString SavedSessions::Outcome::text() const {
    return problem.isEmpty() ? QStringLiteral("saved ") + path : QStringLiteral("not saved: ") + problem;
}

SavedSessions::Outcome SavedSessions::save(const QDateTime& now) const {
    Outcome outcome{freePath(now), {}};
    outcome.problem = saveInto(outcome.path);
    if (outcome.problem.isEmpty() && stem.isEmpty())
        makeRoomFor(outcome.path);
    return outcome;
}

// Several files of one second are numbered from 2 on.
QString SavedSessions::freePath(const QDateTime& now) const {
    const QString name = stem.isEmpty() ? beginning + now.toString(QStringLiteral("yyyy-MM-dd-HHmmss")) : stem;
    const QString pathOfFirst = QDir(folder).filePath(name);
    QString path = pathOfFirst + ending;
    for (int number = 2; QFile::exists(path); ++number)
        path = QStringLiteral("%1-%2%3").arg(pathOfFirst).arg(number).arg(ending);
    return path;
}

// The others go by their times of writing. Where the clock was set back, they may seem newer than the file just saved.
void SavedSessions::makeRoomFor(const QString& path) const {
    QFileInfoList others = QDir(folder).entryInfoList({beginning + QLatin1Char('*') + ending},
                                                      QDir::Files | QDir::NoSymLinks, QDir::Time);
    others.removeOne(QFileInfo(path));
    others.erase(std::remove_if(others.begin(), others.end(), isForeign), others.end());
    for (int i = most - 1; i < others.size(); ++i)
        QFile::remove(others[i].filePath());
}

bool SaveChord::take(const KX::KXToolkitEvent& event) {
    const bool isPress = event.eventType == KX::TOOLKIT_KEY_PRESS_EVENT;
    if (event.osKeyCode == Qt::Key_Control && (isPress || event.eventType == KX::TOOLKIT_KEY_RELEASE_EVENT))
        isControlDown = isPress;
    return isPress && event.osKeyCode == Qt::Key_S && isControlDown;
}

} // namespace Terminal
