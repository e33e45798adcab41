#pragma once

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

    /// "REC 1:03", "KEEPS 10 min", both, or why the recording ended: "NOT RECORDING No space left on device". Empty:
    /// nothing is recorded.
    /// \param elapsedMs  since the recording began
    QString text(qint64 elapsedMs) const;

    /// Whether a recording ended that should go on.
    bool hasFailed() const;

private:
    const Source source;
};

/// Shows the state in the window, red when the recording has ended.
class RecordingLabel : public QLabel {
    Q_OBJECT

public:
    explicit RecordingLabel(RecordingState state, QWidget* parent = nullptr);

private:
    void refresh();

    const RecordingState state;
    QElapsedTimer sinceStart;
    QTimer everySecond;
};

} // namespace Terminal
