#pragma once

#include <QDateTime>
#include <QString>

#include <functional>
#include <optional>

namespace KX {
class KXToolkitEvent;
} // namespace KX

namespace Terminal {

/// The files into which the flight recorder's minutes are saved: kxterminal-2026-11-22-064511.kxr in one folder. There
/// are at most as many as told; the oldest give way to a new one. Other files in the folder are left alone.
class SavedSessions {
public:
    /// Writes a recording into the file of that name, which is not there yet.
    /// \return why it failed, in one line; empty: it did not
    using Save = std::function<QString(const QString& path)>;

    SavedSessions(QString folder, int most, Save save);

    /// \return one line: which file was saved, or what went wrong
    QString save(const QDateTime& now) const;

private:
    QString freePath(const QDateTime& now) const;
    void makeRoomFor(const QString& path) const;

    const QString folder;
    const int most;
    const Save saveInto;
};

/// The keys with which the operator saves: S while Ctrl is held down.
class SaveChord {
public:
    /// \return whether this event completes the chord
    bool take(const KX::KXToolkitEvent& event);

private:
    bool isControlDown = false;
};

} // namespace Terminal
