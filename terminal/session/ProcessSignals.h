#pragma once

#include <QObject>
#include <QSocketNotifier>

#include <memory>

namespace Terminal {

/// Signals of the process, handled in the main loop. SIGINT and SIGTERM end the main loop instead of the process,
/// so that everything shuts down in order. SIGUSR1 saves what the flight recorder keeps.
class ProcessSignals : public QObject {
    Q_OBJECT

public:
    /// Blocks the signals for this thread and all threads that it starts from now on. Call it before any other thread
    /// exists: a thread that does not block them would still let them kill the process.
    static void hold();

    /// Reports the blocked signals, including those that arrived before.
    /// \throws std::system_error  the system provides no signal descriptor
    ProcessSignals();
    ~ProcessSignals() override;

    ProcessSignals(const ProcessSignals&) = delete;
    ProcessSignals& operator=(const ProcessSignals&) = delete;

signals:
    void terminationRequested();
    void saveRequested();

private:
    void takeSignals();

    int descriptor;
    std::unique_ptr<QSocketNotifier> readable;
};

} // namespace Terminal
