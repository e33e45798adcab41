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
/// are at most as many as told; the oldest give way to a new one. Other files in the folder are left alone, and so are
/// files that have a name of their own.
class SavedSessions {
public:
    /// Writes a recording into the file of that name, which is not there yet.
    /// \return why it failed, in one line; empty: it did not
    using Save = std::function<QString(const QString& path)>;

    /// \param place  a folder; or a file of another name, and what is saved next gets a number behind that name
    SavedSessions(const QString& place, int most, Save save);

    /// \return why nothing can be saved at \p place, in one line; empty: it can
    static QString whyUnusable(const QString& place);

    struct Outcome {
        QString path;    ///< of the file that was saved
        QString problem; ///< why none was; empty: one was

        /// Which file was saved, or what went wrong, in one line.
        QString text() const;
    };

    Outcome save(const QDateTime& now) const;

private:
    QString freePath(const QDateTime& now) const;
    void makeRoomFor(const QString& path) const;

    const QString folder;
    const QString stem; // of the files; empty: the date
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
