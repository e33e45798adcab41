#pragma once

#include <QAbstractEventDispatcher>
#include <QThread>

#include <benchmark/benchmark.h>
#include <cstring>
#include <memory>

/// Threads of Qt's, each with the loop that a contender is to have.
namespace Bench {

enum class QtLoop {
    GLib, ///< what an application gets where Qt is built as Debian builds it
    Own   ///< what Qt has for itself, and what QT_NO_GLIB chooses
};

/// Makes threads that start from now on, and the application's own if it is yet to be made, have this loop. Qt looks
/// for the variable each time.
inline void chooseLoop(QtLoop loop) {
    loop == QtLoop::Own ? qputenv("QT_NO_GLIB", "1") : qunsetenv("QT_NO_GLIB");
}

/// Whether a thread that has started has this loop.
inline bool hasLoop(const QThread& thread, QtLoop loop) {
    const char* const dispatcher = thread.eventDispatcher()->metaObject()->className();
    return (std::strstr(dispatcher, "Glib") != nullptr) == (loop == QtLoop::GLib);
}

/// Lets a benchmark run where it was called.
struct Here {
    template<class Measure>
    Measure operator()(Measure measure) const {
        return measure;
    }
};

/// Lets a benchmark run on a thread of Qt's with this loop; its time is that thread's.
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
