#pragma once

#include <QAbstractEventDispatcher>
#include <QThread>

#include <benchmark/benchmark.h>
#include <cstring>
#include <memory>

namespace Bench {

/// A thread of Qt's that does \p work, with GLib's loop, which an application gets where Qt is built as Debian builds
/// it, or with Qt's own. Qt reads the variable each time.
template<class Work>
std::unique_ptr<QThread> startQtThread(bool isWithGLib, Work work) {
    isWithGLib ? qunsetenv("QT_NO_GLIB") : qputenv("QT_NO_GLIB", "1");
    std::unique_ptr<QThread> thread(QThread::create(work));
    thread->start();
    return thread;
}

/// Ends the measurement with an error when a thread that has started has the other loop.
inline bool checkLoop(benchmark::State& state, const QThread& thread, bool isWithGLib) {
    const bool isGLib = std::strstr(thread.eventDispatcher()->metaObject()->className(), "Glib") != nullptr;
    if (isGLib != isWithGLib)
        state.SkipWithError("Qt runs another loop than it was told to");
    return isGLib == isWithGLib;
}

} // namespace Bench
