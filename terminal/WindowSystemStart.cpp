#include "terminal/WindowSystemStart.h"

#include <QByteArray>
#include <QString>
#include <QtGlobal>

#include <cstdio>
#include <unistd.h>

namespace {

// What Qt says right before it gives up tells more than its last words, which list every plugin there is.
QString lastWarning;

void handleMessage(QtMsgType type, const QMessageLogContext& context, const QString& message) {
    const QByteArray category = context.category == nullptr ? "" : context.category;
    if (type == QtFatalMsg) {
        const QByteArray reason = lastWarning.isEmpty() ? message.toLocal8Bit() : lastWarning.toLocal8Bit();
        std::fprintf(stderr,
                     "kxterminal: cannot start the window system: %s (QT_QPA_PLATFORM=offscreen needs none)\n",
                     reason.simplified().constData());
        _exit(1);
    }
    if (type == QtWarningMsg && category.startsWith("qt.qpa") && lastWarning.isEmpty())
        lastWarning = message;
    else
        std::fprintf(stderr, "%s\n", message.toLocal8Bit().constData());
}

} // namespace

WindowSystemStart::WindowSystemStart() {
    qInstallMessageHandler(handleMessage);
}

WindowSystemStart::~WindowSystemStart() {
    qInstallMessageHandler(nullptr);
}
