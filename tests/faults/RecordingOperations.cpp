// The recorder, recordings and keypad layouts.

#include "tests/faults/ManagerSupport.h"

#include "events/KXEventType.h"
#include "events/KXKeyCode.h"
#include "platform/KXTick.h"
#include "recording/KXEventLine.h"
#include "recording/KXFunctionKeys.h"
#include "recording/KXKeyLayout.h"
#include "recording/KXPassSchedule.h"
#include "recording/KXRecording.h"
#include "recording/KXSessionRecorder.h"

#include <Qt>

#include <filesystem>
#include <fstream>
#include <memory>
#include <new>
#include <sstream>
#include <stdexcept>

namespace KX::test {

namespace {

using testing::HasSubstr;
using testing::StartsWith;

constexpr unsigned int keptMs = 60000;

const auto ignore = [](const std::string&) {};

/// The types of the toolkit's events in a recording; empty: it is none.
std::vector<int> recordedTypes(const std::string& path) {
    std::vector<int> types;
    for (const Recording::Entry& entry : Recording::readFile(path, ignore).entries)
        if (const auto* const event = std::get_if<KXToolkitEvent>(&entry.input))
            types.push_back(event->eventType);
    return types;
}

const std::vector<int> tapOfKey = {TOOLKIT_KEY_PRESS_EVENT, TOOLKIT_KEY_RELEASE_EVENT};

/// What another writer has locked is that one's file and stays.
void expectNoNewFile(const Fault& fault, const std::string& path) {
    if (!fault.isOf("unlink") && !fault.isOf("lstat64"))
        EXPECT_EQ(std::filesystem::exists(path), fault.isOf("flock"));
}

void expectTap(const std::string& path) {
    EXPECT_EQ(recordedTypes(path), tapOfKey);
}

/// Old enough that no later press pairs with it, and none becomes long.
void tapKey(KXInputEventManager& present) {
    for (const int type : tapOfKey) {
        KXToolkitEvent event;
        event.eventType = type;
        event.osKeyCode = Qt::Key_Home;
        event.timeStamp = KXTick::getTickCount() - 1000;
        present.toolkitEventOccurred(event);
    }
    takeTypes(present);
}

/// Makes a new manager. Its beginning is a moment of rest for a recorder that is there already.
KXInputEventManager& beginSession() {
    KXInputEventManager::deleteInstance();
    return manager();
}

/// Makes a recorder that sees the session from its beginning.
std::unique_ptr<KXSessionRecorder> makeRecorder() {
    KXInputEventManager::deleteInstance();
    auto recorder = std::make_unique<KXSessionRecorder>(keptMs);
    beginSession();
    return recorder;
}

void expectRecords(KXSessionRecorder& recorder, const std::string& path) {
    ASSERT_TRUE(recorder.start(path)) << recorder.problem();
    tapKey(*KXInputEventManager::getInstance());
    EXPECT_TRUE(recorder.stop()) << recorder.problem();
    EXPECT_EQ(recordedTypes(path), tapOfKey);
}

/// What an operation of the recorder says about its file.
void expectTold(const Fault& fault, const KXSessionRecorder& recorder, const std::string& path) {
    if (!fault.isOfMemory() || recorder.problem() != "no memory was left")
        EXPECT_THAT(recorder.problem(), StartsWith(path + ": "));
}

const Operation recorderOperations[] = {
    {"KXSessionRecorder", "make", "throws std::bad_alloc and nobody observes the session; a later one records",
     [](Fault& fault) {
         manager();
         const Folder folder;
         std::unique_ptr<KXSessionRecorder> recorder;
         if (!fault.completes([&] { recorder = std::make_unique<KXSessionRecorder>(keptMs); })) {
             EXPECT_EQ(KXInputEventManager::getObserver(), nullptr);
             recorder = std::make_unique<KXSessionRecorder>(keptMs);
         }
         beginSession();
         expectRecords(*recorder, folder.path + "a.kxr");
     }},

    {"KXSessionRecorder", "start", "false with a problem, and there is no new file; a later call records",
     [](Fault& fault) {
         const Folder folder;
         const auto recorder = makeRecorder();
         const std::string path = folder.path + "a.kxr";
         const bool isStarted = fault.during([&] { return recorder->start(path); });
         EXPECT_EQ(recorder->isRecording(), isStarted);
         if (!isStarted) {
             EXPECT_TRUE(fault.hasHappened());
             expectTold(fault, *recorder, path);
             expectNoNewFile(fault, path);
             beginSession();
             return expectRecords(*recorder, folder.path + "b.kxr");
         }
         tapKey(*KXInputEventManager::getInstance());
         EXPECT_TRUE(recorder->stop()) << recorder->problem();
         EXPECT_EQ(recordedTypes(path), tapOfKey);
     }},

    {"KXSessionRecorder", "input",
     "reaches the library whatever happens; the recording goes on, or ends with a line",
     [](Fault& fault) {
         const Folder folder;
         const auto recorder = makeRecorder();
         KXInputEventManager& present = manager();
         const std::string path = folder.path + "a.kxr";
         ASSERT_TRUE(recorder->start(path)) << recorder->problem();
         KXToolkitEvent press;
         press.eventType = TOOLKIT_KEY_PRESS_EVENT;
         press.osKeyCode = Qt::Key_Home;
         press.timeStamp = KXTick::getTickCount() - 1000;
         fault.completes([&] { present.setKeyMapping({{Qt::Key_Home, KX_KEY_HOME}}); });
         EXPECT_EQ(fault.during([&] { return present.toolkitEventOccurred(press); }), STATUS_OK);
         EXPECT_EQ(takeTypes(present).size(), hasLostEvent(fault) ? 0U : 1U);
         press.eventType = TOOLKIT_KEY_RELEASE_EVENT;
         present.toolkitEventOccurred(press);
         EXPECT_EQ(takeTypes(present).size(), 1U);
         const bool isWhole = recorder->stop();
         if (!isWhole) {
             EXPECT_THAT(fault.getLines(), HasSubstr("; the recording ends here\n"));
             expectTold(fault, *recorder, path);
             recorder->save(folder.path + "c.kxr"); // begins anew if it had given up
             beginSession();
             return expectRecords(*recorder, folder.path + "b.kxr");
         }
         EXPECT_EQ(recordedTypes(path), tapOfKey);
     }},

    {"KXSessionRecorder", "stop", "false with a problem, and it has ended; a later recording works",
     [](Fault& fault) {
         const Folder folder;
         const auto recorder = makeRecorder();
         KXInputEventManager& present = manager();
         const std::string path = folder.path + "a.kxr";
         ASSERT_TRUE(recorder->start(path)) << recorder->problem();
         tapKey(present);
         const bool isWhole = fault.during([&] { return recorder->stop(); });
         EXPECT_FALSE(recorder->isRecording());
         EXPECT_EQ(recordedTypes(path), tapOfKey) << "flushed before";
         if (isWhole)
             return;
         EXPECT_TRUE(fault.hasHappened());
         expectTold(fault, *recorder, path);
         beginSession();
         expectRecords(*recorder, folder.path + "b.kxr");
     }},

    {"KXSessionRecorder", "save", "false with a problem, and there is no new file; a later call saves all",
     [](Fault& fault) {
         const Folder folder;
         const auto recorder = makeRecorder();
         KXInputEventManager& present = manager();
         tapKey(present);
         const std::string path = folder.path + "a.kxr";
         if (fault.during([&] { return recorder->save(path); }))
             return expectTap(path);
         EXPECT_TRUE(fault.hasHappened());
         expectTold(fault, *recorder, path);
         expectNoNewFile(fault, path);
         const std::string second = folder.path + "b.kxr";
         EXPECT_TRUE(recorder->save(second)) << recorder->problem();
         EXPECT_EQ(recordedTypes(second), tapOfKey);
     }},

    {"KXSessionRecorder", "save_after_an_input_without_memory",
     "false with a problem, and it keeps anew; the next one saves what comes then",
     [](Fault& fault) {
         const Folder folder;
         const auto recorder = makeRecorder();
         KXInputEventManager& present = manager();
         fault.completes([&] { present.setKeyMapping({{Qt::Key_Home, KX_KEY_HOME}}); });
         const std::string path = folder.path + "a.kxr";
         if (recorder->save(path))
             return;
         EXPECT_TRUE(fault.hasHappened());
         EXPECT_EQ(recorder->problem(), path + ": no memory was left");
         EXPECT_FALSE(std::filesystem::exists(path));
         tapKey(beginSession());
         const std::string second = folder.path + "b.kxr";
         EXPECT_TRUE(recorder->save(second)) << recorder->problem();
         expectTap(second);
     }},

    {"KXSessionRecorder", "destroy", "does not fail, also while a recording goes on",
     [](Fault& fault) {
         const Folder folder;
         auto recorder = makeRecorder();
         KXInputEventManager& present = manager();
         const std::string path = folder.path + "a.kxr";
         ASSERT_TRUE(recorder->start(path)) << recorder->problem();
         tapKey(present);
         fault.during([&] { recorder.reset(); });
         EXPECT_EQ(KXInputEventManager::getObserver(), nullptr);
         EXPECT_EQ(recordedTypes(path), tapOfKey) << "flushed before";
         expectRecords(*makeRecorder(), folder.path + "b.kxr");
     }},

    {"KXSessionRecorder", "problem", "throws std::bad_alloc; nothing is left",
     [](Fault& fault) {
         manager();
         const auto recorder = std::make_unique<KXSessionRecorder>();
         EXPECT_FALSE(recorder->save("/a path that is longer than a string itself"));
         std::string problem;
         if (fault.completes([&] { problem = recorder->problem(); }))
             EXPECT_THAT(problem, HasSubstr("nothing is kept"));
     }},
};

/// What a call that reads or writes a file threw: bad_alloc for memory, else one line about the file.
bool succeedsWithFile(Fault& fault, const std::string& path, const std::function<void()>& call) {
    try {
        return fault.completes(call);
    } catch (const std::runtime_error& error) {
        EXPECT_TRUE(fault.hasHappened()) << error.what();
        EXPECT_THAT(error.what(), StartsWith(path + ":"));
        return false;
    }
}

Recording::Session sessionOfATap() {
    Recording::Session session;
    std::uint64_t timeMs = 1000;
    for (const int type : tapOfKey) {
        KXToolkitEvent event;
        event.eventType = type;
        event.osKeyCode = Qt::Key_Home;
        event.timeStamp = static_cast<unsigned int>(timeMs);
        session.entries.push_back({timeMs, event});
        timeMs += 100;
    }
    session.entries.push_back({timeMs, Recording::End()});
    return session;
}

const Operation recordingOperations[] = {
    {"KXRecording", "writeFile",
     "throws std::bad_alloc, or std::runtime_error about the file; there is no new file",
     [](Fault& fault) {
         const Folder folder;
         const std::string path = folder.path + "a.kxr";
         const Recording::Session session = sessionOfATap();
         if (succeedsWithFile(fault, path, [&] { Recording::writeFile(path, session); }))
             return expectTap(path);
         expectNoNewFile(fault, path);
         Recording::writeFile(folder.path + "b.kxr", session);
     }},

    {"KXRecording", "readFile", "throws std::bad_alloc, or BadFile about the file; never a part of the session",
     [](Fault& fault) {
         const Folder folder;
         const std::string path = folder.path + "a.kxr";
         Recording::writeFile(path, sessionOfATap());
         Recording::Session session;
         if (succeedsWithFile(fault, path, [&] { session = Recording::readFile(path, ignore); }))
             EXPECT_EQ(session.entries.size(), 3U);
     }},

    {"KXPassSchedule", "make", "allocates nothing",
     [](Fault& fault) {
         const Recording::Session session = sessionOfATap();
         fault.during([&] { EXPECT_GE(KXPassSchedule(session).endMs(), 1100U); });
     }},

    {"KXEventLine", "make", "allocates nothing",
     [](Fault& fault) {
         const KXInputEvent event;
         fault.during([&] { EXPECT_NE(KXEventLine(event).text().find(" class=3 "), std::string_view::npos); });
     }},
};

const std::string layoutText = "key 1 code 0 byte 0 bit 0 id 18FF0001\n"
                               "key 2 code 1 byte 0 bit 1 id 18FF0001\n"
                               "encoder id 18FF0002 byte 1 big mask FFF up 5 down 4\n";

const Operation layoutOperations[] = {
    {"KXKeyLayout", "read", "throws std::bad_alloc or std::runtime_error; never another layout",
     [](Fault& fault) {
         const KeyLayout::ToolkitKeys keys = KeyLayout::keyCodesOfTerminal();
         std::istringstream input(layoutText);
         CANRemoteOptions layout;
         if (succeedsWithFile(fault, "name", [&] { layout = KeyLayout::read(input, "name", keys); }))
             EXPECT_EQ(KeyLayout::write(layout), layoutText);
     }},

    {"KXKeyLayout", "readFile", "throws std::bad_alloc or std::runtime_error; never another layout",
     [](Fault& fault) {
         const Folder folder;
         const std::string path = folder.path + "keypad";
         std::ofstream(path) << layoutText;
         const KeyLayout::ToolkitKeys keys = KeyLayout::keyCodesOfTerminal();
         CANRemoteOptions layout;
         if (succeedsWithFile(fault, path, [&] { layout = KeyLayout::readFile(path, keys); }))
             EXPECT_EQ(KeyLayout::write(layout), layoutText);
     }},

    {"KXKeyLayout", "write", "throws std::bad_alloc; never a part of the text",
     [](Fault& fault) {
         const CANRemoteOptions layout = KeyLayout::builtIn();
         const std::string whole = KeyLayout::write(layout);
         std::string text;
         if (fault.completes([&] { text = KeyLayout::write(layout); }))
             EXPECT_EQ(text, whole);
     }},

    {"KXKeyLayout", "check", "throws std::bad_alloc; never another verdict",
     [](Fault& fault) {
         const KeyLayout::ToolkitKeys keys = KeyLayout::keyCodesOfTerminal();
         CANRemoteOptions layout = KeyLayout::builtIn();
         fault.completes([&] { EXPECT_FALSE(KeyLayout::check(layout, keys)); });
         layout.keys[3].keyCode = 9999;
         fault.completes([&] { EXPECT_TRUE(KeyLayout::check(layout, keys)); });
     }},

    {"KXKeyLayout", "builtIn_and_keys", "throw std::bad_alloc; nothing is left",
     [](Fault& fault) {
         fault.completes([] { EXPECT_TRUE(KeyLayout::hasEncoder(KeyLayout::builtIn())); });
         fault.completes([] { EXPECT_EQ(KeyLayout::functionKeys().size(), 12U); });
     }},
};

} // namespace

} // namespace KX::test
