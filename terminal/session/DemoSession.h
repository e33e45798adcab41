#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QPoint>
#include <QTimer>

#include <cstddef>
#include <functional>
#include <vector>

class QWidget;

namespace Terminal {

class MainWindow;

/// Plays a short sequence of operator input. It posts Qt events to the native window, so they take the same way as
/// real ones. It runs in real time, because it shows the durations of presses.
class DemoSession : public QObject {
    Q_OBJECT

public:
    /// \p window must outlive the session and must be visible before \ref start.
    explicit DemoSession(MainWindow& window);

    void start();

signals:
    /// The last input was posted, and its events had time to arrive.
    void finished();

private:
    struct Step {
        int delayMs; // after the previous step
        std::function<void()> action;
    };

    void writeScript();
    void useKeys();
    void useEncoder();
    void useSoftKeys();
    void useKeypad();
    void doNextStep();
    void waitForNextStep();

    void then(int delayMs, std::function<void()> action);
    void tapKey(int delayMs, int key, int holdMs);
    void touchSoftKey(int delayMs, int number, int holdMs);
    void touch(int delayMs, std::function<const QWidget&()> target, int holdMs);
    void tapKeypad(int delayMs, int number, int holdMs);
    void turnKnob(int delayMs, int detents);
    void turnWheel(int delayMs, int detents);

    void postKey(bool press, int key);
    void postMouse(bool press, const QPoint& position);
    void postWheel(int detents, const QPoint& position);

    MainWindow& window;
    std::vector<Step> script;
    std::size_t nextStep = 0;
    QElapsedTimer sinceGesture;
    int dueMs = 0; // the next step, since the gesture began
    QTimer timer;
};

} // namespace Terminal
