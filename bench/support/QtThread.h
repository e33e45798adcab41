#pragma once

#include <QAbstractEventDispatcher>
#include <QThread>

#include <benchmark/benchmark.h>
#include <cstring>
#include <memory>

namespace Bench {

enum class QtLoop {
    GLib, ///< what an application gets where Qt is built as Debian builds it
    Own   ///< Qt's own, which QT_NO_GLIB chooses
};

/// Chooses the loop of Qt's threads that start from now on. Qt reads the variable each time.
inline void chooseLoop(QtLoop loop) {
    loop == QtLoop::Own ? qputenv("QT_NO_GLIB", "1") : qunsetenv("QT_NO_GLIB");
}

/// Whether a thread that has started has this loop.
inline bool hasLoop(const QThread& thread, QtLoop loop) {
    const char* const dispatcher = thread.eventDispatcher()->metaObject()->className();
    return (std::strstr(dispatcher, "Glib") != nullptr) == (loop == QtLoop::GLib);
}

/// Lets a measurement run on the calling thread.
struct Here {
    template<class Measure>
    Measure operator()(Measure measure) const {
        return measure;
    }
};

/// Lets a measurement run on a Qt thread with this loop; its time is that thread's.
class OnQtThread {
public:
    explicit OnQtThread(QtLoop newLoop) : loop(newLoop) {}

    template<class Measure>
    auto operator()(Measure measure) const {
        return [itsLoop = loop, measure](benchmark::State& state) {
            chooseLoop(itsLoop);
            const std::unique_ptr<QThread> thread(QThread::create([&state, measure, itsLoop] {
                if (hasLoop(*QThread::currentThread(), itsLoop))
                    measure(state);
                else
                    state.SkipWithError("Qt runs another loop than it was told to");
            }));
            thread->start();
            thread->wait();
        };
    }

private:
    QtLoop loop;
};

} // namespace Bench
