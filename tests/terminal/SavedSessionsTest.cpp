#include "terminal/session/SavedSessions.h"

#include "events/KXEvent.h"
#include "events/KXEventType.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace Terminal;

using testing::ElementsAre;

namespace {

const QDateTime morning(QDate(2026, 11, 22), QTime(6, 45, 11));

// Files are written one second apart, whatever the clock of this machine does.
class SavedSessionsTest : public testing::Test {
protected:
    QString write(const QString& path) {
        QFile file(path);
        if (!file.open(QIODevice::NewOnly))
            return path + ": " + file.errorString();
        file.setFileTime(morning.addSecs(++writtenFiles), QFileDevice::FileModificationTime);
        return {};
    }

    QString save(int most, const QDateTime& now = morning) {
        const SavedSessions sessions(folder.path(), most, [this](const QString& path) { return write(path); });
        return sessions.save(now).text();
    }

    std::vector<std::string> files() const {
        std::vector<std::string> names;
        for (const QString& name : QDir(folder.path()).entryList(QDir::Files, QDir::Name))
            names.push_back(name.toStdString());
        return names;
    }

    QTemporaryDir folder;
    int writtenFiles = 0;
};

bool take(SaveChord& chord, int type, int osKeyCode) {
    KX::KXToolkitEvent event;
    event.eventType = type;
    event.osKeyCode = osKeyCode;
    return chord.take(event);
}

} // namespace

TEST_F(SavedSessionsTest, AFileHasTheDateInItsName) {
    EXPECT_EQ("saved " + folder.path() + "/kxterminal-2026-11-22-064511.kxr", save(3));
    EXPECT_THAT(files(), ElementsAre("kxterminal-2026-11-22-064511.kxr"));
}

TEST_F(SavedSessionsTest, TwoOfOneSecondAreTwoFiles) {
    save(3);
    save(3);
    EXPECT_THAT(files(), ElementsAre("kxterminal-2026-11-22-064511-2.kxr", "kxterminal-2026-11-22-064511.kxr"));
}

TEST_F(SavedSessionsTest, AsManyAsToldStayAndTheOldestGiveWay) {
    for (int second = 0; second < 3; ++second)
        save(3, morning.addSecs(second));
    EXPECT_EQ(3U, files().size());
    save(3, morning.addDays(-1)); // the clock was set back
    EXPECT_THAT(files(), ElementsAre("kxterminal-2026-11-21-064511.kxr", "kxterminal-2026-11-22-064512.kxr",
                                     "kxterminal-2026-11-22-064513.kxr"));
}

TEST_F(SavedSessionsTest, TheFileJustSavedStaysThoughTheOthersSeemNewer) {
    writtenFiles = 100;
    save(2);
    save(2, morning.addSecs(1));
    writtenFiles = 0; // the clock was set back
    save(2, morning.addDays(-1));
    EXPECT_THAT(files(), ElementsAre("kxterminal-2026-11-21-064511.kxr", "kxterminal-2026-11-22-064512.kxr"));
}

TEST_F(SavedSessionsTest, OtherFilesAreLeftAlone) {
    for (const char* name : {"kxterminal-notes.txt", "complaint.kxr", "kxterminal-day.kxr",
                             "kxterminal-2026-11-21-064511-brake.kxr", "kxterminal-2026-11-21.kxr"})
        write(folder.filePath(name));
    save(1);
    save(1, morning.addSecs(1));
    EXPECT_THAT(files(),
                ElementsAre("complaint.kxr", "kxterminal-2026-11-21-064511-brake.kxr", "kxterminal-2026-11-21.kxr",
                            "kxterminal-2026-11-22-064512.kxr", "kxterminal-day.kxr", "kxterminal-notes.txt"));
}

TEST_F(SavedSessionsTest, AFailureIsToldAndNothingGivesWay) {
    save(1);
    const SavedSessions failing(folder.path(), 1, [](const QString& path) { return path + ": no space"; });
    EXPECT_EQ("not saved: " + folder.path() + "/kxterminal-2026-11-23-064511.kxr: no space",
              failing.save(morning.addDays(1)).text());
    EXPECT_THAT(files(), ElementsAre("kxterminal-2026-11-22-064511.kxr"));
}

TEST_F(SavedSessionsTest, AFileOfANameOfItsOwnIsNumberedAndStays) {
    const SavedSessions sessions(folder.filePath("complaint.kxr"), 1,
                                 [this](const QString& path) { return write(path); });
    EXPECT_EQ("saved " + folder.filePath("complaint.kxr"), sessions.save(morning).text());
    sessions.save(morning);
    sessions.save(morning);
    EXPECT_THAT(files(), ElementsAre("complaint-2.kxr", "complaint-3.kxr", "complaint.kxr"));
}

TEST_F(SavedSessionsTest, APlaceThatCannotBeUsedIsTold) {
    EXPECT_EQ("", SavedSessions::whyUnusable(folder.path()));
    EXPECT_EQ("", SavedSessions::whyUnusable(folder.filePath("new.kxr")));
    EXPECT_EQ("", SavedSessions::whyUnusable("new.kxr"));
    const QString missing = folder.filePath("missing");
    EXPECT_EQ(missing + ": No such file or directory", SavedSessions::whyUnusable(missing));
    EXPECT_EQ(missing + "/a.kxr: No such file or directory", SavedSessions::whyUnusable(missing + "/a.kxr"));
    write(missing);
    EXPECT_EQ(missing + ": Not a directory", SavedSessions::whyUnusable(missing));
    QDir(folder.path()).mkdir("folder.kxr");
    EXPECT_EQ("", SavedSessions::whyUnusable(folder.filePath("folder.kxr")));
}

TEST(SaveChordTest, IsSWhileCtrlIsDown) {
    SaveChord chord;
    EXPECT_FALSE(take(chord, KX::TOOLKIT_KEY_PRESS_EVENT, Qt::Key_S));
    EXPECT_FALSE(take(chord, KX::TOOLKIT_KEY_PRESS_EVENT, Qt::Key_Control));
    EXPECT_FALSE(take(chord, KX::TOOLKIT_KEY_PRESS_EVENT, Qt::Key_A));
    EXPECT_TRUE(take(chord, KX::TOOLKIT_KEY_PRESS_EVENT, Qt::Key_S));
    EXPECT_FALSE(take(chord, KX::TOOLKIT_KEY_RELEASE_EVENT, Qt::Key_S));
    EXPECT_FALSE(take(chord, KX::TOOLKIT_KEY_RELEASE_EVENT, Qt::Key_Control));
    EXPECT_FALSE(take(chord, KX::TOOLKIT_KEY_PRESS_EVENT, Qt::Key_S));
}
