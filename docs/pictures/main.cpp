// Draws the pictures of the documents, and each page at each size of a screen.

#include "docs/pictures/Session.h"
#include "terminal/look/ScreenButton.h"
#include "terminal/look/Theme.h"
#include "terminal/timeline/TimeLineControls.h"
#include "terminal/timeline/TimeLineView.h"
#include "terminal/window/PageArea.h"

#include <QApplication>
#include <QDir>
#include <QPixmap>
#include <QThread>

#include <cstdio>
#include <cstdlib>

using Pictures::Session;
using Terminal::Page;

namespace {

const QSize sizes[] = {{640, 480}, {800, 480}, {1024, 768}, {1920, 1080}};
const char* const pageNames[Terminal::pageCount] = {"events", "time-line", "encoder",
                                                    "keypad", "actions",   "settings"};
constexpr QSize sizeInDocuments(800, 480);

void write(Session& session, const QString& path) {
    // What is drawn at a pace of its own is drawn by now.
    for (int turn = 0; turn < 3; ++turn) {
        QThread::msleep(60);
        QCoreApplication::processEvents();
    }
    if (!session.window().grab().save(path)) {
        std::fprintf(stderr, "cannot write %s\n", path.toLocal8Bit().constData());
        std::exit(2);
    }
}

void drawDocuments(const QString& folder) {
    Session session(sizeInDocuments);
    session.works();
    session.window().showPage(Page::Encoder);
    session.passes(100);
    write(session, folder + QStringLiteral("/encoder.png"));
    session.window().showPage(Page::TimeLine);
    session.pressesKey(Qt::Key_Home, 80);
    session.passes(221);
    session.pressesKey(Qt::Key_Home, 90);
    session.passes(300);
    session.holdsKey(Qt::Key_F6);
    session.passes(400);
    write(session, folder + QStringLiteral("/time-line.png"));
    session.window().showPage(Page::Events);
    write(session, folder + QStringLiteral("/kxterminal.png"));
}

void drawPages(const QString& folder, const QSize& size) {
    const QString prefix = QStringLiteral("%1/%2x%3-").arg(folder).arg(size.width()).arg(size.height());
    Session session(size);
    const auto writePage = [&](Page page, const QString& name) {
        session.window().showPage(page);
        write(session, prefix + name + QStringLiteral(".png"));
    };
    for (const Page page : {Page::Events, Page::TimeLine, Page::Encoder, Page::Actions})
        writePage(page, QStringLiteral("empty-") + QLatin1String(pageNames[static_cast<int>(page)]));
    session.works();
    for (int page = 0; page < Terminal::pageCount; ++page)
        writePage(static_cast<Page>(page), QLatin1String(pageNames[page]));
    session.window().pages().timeLine().controls().legendButton().setChecked(true);
    writePage(Page::TimeLine, QStringLiteral("legend"));
    session.settings().set(KX::KXInputSetting::DoubleKeyPressDuration, 0);
    session.settings().set(KX::KXInputSetting::EncoderUserFactor, 1250);
    session.settings().set(KX::KXInputSetting::LongKeyPressDuration, 0);
    writePage(Page::Settings, QStringLiteral("settings-changed"));
    session.settings().set(KX::KXInputSetting::AcceptInput, 0);
    writePage(Page::Events, QStringLiteral("input-off"));
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: kx_pictures FOLDER-OF-DOCUMENTS FOLDER-OF-PAGES\n");
        return 2;
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    Terminal::Theme::apply(application);
    const QString pages = QString::fromLocal8Bit(argv[2]);
    QDir().mkpath(pages);
    drawDocuments(QString::fromLocal8Bit(argv[1]));
    for (const QSize& size : sizes)
        drawPages(pages, size);
    return 0;
}
