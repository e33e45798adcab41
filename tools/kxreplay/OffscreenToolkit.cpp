#include "tools/kxreplay/OffscreenToolkit.h"

#include <QString>

#include <cstdio>

namespace Replay {

namespace {

// Qt's warnings are about a desktop that is not there. Its reason for ending the program must be shown.
void tellTheWorst(QtMsgType type, const QMessageLogContext& /*context*/, const QString& text) {
    if (type == QtFatalMsg)
        std::fprintf(stderr, "kxreplay: %s\n", text.toLocal8Bit().constData());
}

int& withoutDisplay(int& argumentCount) {
    qInstallMessageHandler(&tellTheWorst);
    qputenv("QT_QPA_PLATFORM", "offscreen;minimal");
    return argumentCount;
}

} // namespace

OffscreenToolkit::OffscreenToolkit() : application(withoutDisplay(argumentCount), arguments) {}

} // namespace Replay
