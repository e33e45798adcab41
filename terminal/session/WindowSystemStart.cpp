#include "terminal/session/WindowSystemStart.h"

#include <QString>
#include <QStringList>
#include <QtGlobal>

#include <cstdio>
#include <unistd.h>

namespace Terminal {

namespace {

// Kept until it is clear whether Qt gives up.
QStringList warnings;

void print(const QString& line) {
    std::fprintf(stderr, "%s\n", line.toLocal8Bit().constData());
}

void handleMessage(QtMsgType type, const QMessageLogContext& /*context*/, const QString& message) {
    if (type != QtFatalMsg) {
        warnings.append(message);
        return;
    }
    // The first message says more than Qt's last one, which lists all plugins.
    const QStringList reasons = warnings.filter(QStringLiteral("display")) + warnings + QStringList(message);
    print(QStringLiteral("kxterminal: cannot start the window system: %1 (QT_QPA_PLATFORM=offscreen needs none)")
              .arg(reasons.first().simplified()));
    _exit(1);
}

} // namespace

WindowSystemStart::WindowSystemStart() {
    qInstallMessageHandler(handleMessage);
}

WindowSystemStart::~WindowSystemStart() {
    qInstallMessageHandler(nullptr);
    for (const QString& warning : qAsConst(warnings))
        print(warning);
    warnings.clear();
}

} // namespace Terminal
