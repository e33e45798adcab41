#pragma once

#include <QObject>
#include <QSocketNotifier>

#include <memory>

namespace Terminal {

/// SIGINT and SIGTERM end the main loop instead of the process, so that everything shuts down in order.
class TerminationSignals : public QObject {
    Q_OBJECT

public:
    /// Blocks the two signals for this thread and all threads that it starts from now on. Call it before any other
    /// thread exists: a thread that does not block them would still let them kill the process.
    static void hold();

    /// Reports the blocked signals, including those that arrived before.
    /// \throws std::system_error  the system provides no signal descriptor
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
