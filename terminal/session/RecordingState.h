#pragma once

#include "terminal/session/SavedSessions.h"

#include <QElapsedTimer>
#include <QLabel>
#include <QString>
#include <QTimer>

#include <functional>

namespace Terminal {

/// What the terminal records at this moment, in words.
class RecordingState {
public:
    struct Source {
        bool writesFile = false; ///< with --record
        int keptMinutes = 0;     ///< with --keep-last
        std::function<bool()> isRecording;
        std::function<QString()> problem; ///< why the recording ended, in one line
    };

    explicit RecordingState(Source source);

    /// "REC 1:03", "keeps 10 min, Ctrl+S saves", both, or why the recording ended: "NOT RECORDING: No space left on
    /// device". After a save, what became of it takes the place of what is kept. Empty: nothing is recorded.
    /// \param elapsedMs  since the recording began
    QString text(qint64 elapsedMs) const;

    /// Whether a recording ended that should go on, or the last save failed.
    bool hasFailed() const;

    void noteSave(const SavedSessions::Outcome& outcome);

private:
    bool hasRecordingFailed() const;

    const Source source;
    QString save;
    bool hasSaveFailed = false;
};

/// Shows the state in the window, red when the recording has ended.
class RecordingLabel : public QLabel {
    Q_OBJECT

public:
    explicit RecordingLabel(RecordingState state, QWidget* parent = nullptr);

    void tellSaved(const SavedSessions::Outcome& outcome);

private:
    void refresh();

    RecordingState state;
    QElapsedTimer sinceStart;
    QTimer everySecond;
};

} // namespace Terminal
