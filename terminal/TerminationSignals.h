#pragma once

#include <QObject>
#include <QSocketNotifier>

#include <memory>

namespace Terminal {

/// Lets SIGINT and SIGTERM end the main loop instead of the process, so that everything is put away in order.
class TerminationSignals : public QObject {
    Q_OBJECT

public:
    /// Keeps the two signals from interrupting this thread and all that it starts from now on. To be called
    /// before any other thread exists: one that does not know of it would still be killed with the process.
    static void hold();

    /// Reports the signals that \ref hold keeps back, those that have come in the meantime too.
    /// \throws std::system_error  the system refuses to tell of signals
    TerminationSignals();
    ~TerminationSignals() override;

    TerminationSignals(const TerminationSignals&) = delete;
    TerminationSignals& operator=(const TerminationSignals&) = delete;

signals:
    void terminationRequested();

private:
    void takeSignals();

    int descriptor;
    std::unique_ptr<QSocketNotifier> readable;
};

} // namespace Terminal
