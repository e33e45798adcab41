// Keys that are generated on another thread than the application's, as the worker does for frames of the keypad.

#include "events/KXEventType.h"
#include "input/KXInputEventManager.h"

#include <QApplication>
#include <QKeyEvent>
#include <QPointer>
#include <QWidget>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

// AddressSanitizer does what the environment of this test has the C library do: freed memory is overwritten.
extern "C" const char* __asan_default_options() {
    return "max_free_fill_size=100000";
}

namespace KX {
namespace {

constexpr int homeKey = 1;
constexpr int endKey = 6;

/// How many keys found no active window since CaptureStderr. Qt has lines of its own.
int countMissingWindows() {
    const std::string line =
        "KXInputEventManager::generateKeyEvent(): Failed to find the active window to send the event to.\n";
    const std::string output = testing::internal::GetCapturedStderr();
    int count = 0;
    for (auto at = output.find(line); at != std::string::npos; at = output.find(line, at + line.size()))
        ++count;
    return count;
}

void generate(int keyCode, int type = KEY_PRESS_EVENT) {
    KXInputEvent event;
    event.eventType = type;
    event.keyCode = keyCode;
    KXInputEventManager::generateKeyEvent(event);
}

template<class Function>
void onAnotherThread(Function function) {
    std::thread(function).join();
}

/// An active window that notes its keys.
class Window : public QWidget {
public:
    explicit Window(std::vector<int>& notedKeys) : keys(notedKeys) {
        show();
        QApplication::setActiveWindow(this);
    }

protected:
    bool event(QEvent* event) override {
        if (event->type() == QEvent::KeyPress)
            keys.push_back(static_cast<QKeyEvent*>(event)->key());
        return QWidget::event(event);
    }

private:
    std::vector<int>& keys;
};

class KeysFromOtherThreads : public testing::Test {
protected:
    void SetUp() override {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        KXInputEventManager::createInstance();
    }

    void TearDown() override { KXInputEventManager::deleteInstance(); }

    void makeApplication() { application = std::make_unique<QApplication>(argumentCount, arguments); }

    // A request and the key that it becomes need a turn each.
    static void takeTurns() {
        QCoreApplication::processEvents();
        QCoreApplication::processEvents();
    }

    int argumentCount = 1;
    char name[5] = "test";
    char* arguments[2] = {name, nullptr};
    std::unique_ptr<QApplication> application;
    std::vector<int> keys;
};

TEST_F(KeysFromOtherThreads, go_to_the_window_that_is_active_when_the_application_is_at_them) {
    makeApplication();
    std::vector<int> formerKeys;
    auto former = std::make_unique<Window>(formerKeys);
    onAnotherThread([] { generate(homeKey); });
    former.reset();
    const Window window(keys);
    takeTurns();
    EXPECT_EQ(keys, std::vector<int>{Qt::Key_Home});
    EXPECT_TRUE(formerKeys.empty());
}

TEST_F(KeysFromOtherThreads, come_in_the_order_in_which_they_were_generated) {
    makeApplication();
    const Window window(keys);
    std::vector<int> expected;
    for (int round = 0; round < 100; ++round) {
        onAnotherThread([] { generate(homeKey); });
        generate(endKey); // on the application's own thread
        expected.insert(expected.end(), {Qt::Key_Home, Qt::Key_End});
    }
    takeTurns();
    EXPECT_EQ(keys, expected);
}

TEST_F(KeysFromOtherThreads, without_an_active_window_are_reported_by_the_applications_thread) {
    makeApplication();
    testing::internal::CaptureStderr();
    onAnotherThread([] { generate(homeKey); });
    EXPECT_EQ(countMissingWindows(), 0);
    testing::internal::CaptureStderr();
    takeTurns();
    EXPECT_EQ(countMissingWindows(), 1);
}

TEST_F(KeysFromOtherThreads, that_still_wait_when_the_application_ends_are_reported) {
    makeApplication();
    onAnotherThread([] { generate(homeKey); });
    testing::internal::CaptureStderr();
    application.reset();
    EXPECT_EQ(countMissingWindows(), 1);
}

/// Knows which object has got an event of an application's or a library's own type.
class OwnEventWatch : public QObject {
public:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() >= QEvent::User)
            receiver = watched;
        return false;
    }

    QPointer<QObject> receiver;
};

TEST_F(KeysFromOtherThreads, are_requested_from_an_object_that_ends_with_the_application) {
    makeApplication();
    OwnEventWatch watch;
    application->installEventFilter(&watch);
    testing::internal::CaptureStderr();
    onAnotherThread([] { generate(homeKey); });
    takeTurns();
    EXPECT_EQ(countMissingWindows(), 1);
    EXPECT_FALSE(watch.receiver.isNull()) << "a request has a type of its own";
    application.reset();
    EXPECT_TRUE(watch.receiver.isNull());
}

TEST_F(KeysFromOtherThreads, without_an_application_of_widgets_are_reported_at_once) {
    testing::internal::CaptureStderr();
    onAnotherThread([] { generate(homeKey); });
    {
        const QCoreApplication withoutWindows(argumentCount, arguments);
        onAnotherThread([] { generate(homeKey); });
    }
    makeApplication();
    application.reset();
    onAnotherThread([] { generate(homeKey); });
    EXPECT_EQ(countMissingWindows(), 3);
}

TEST_F(KeysFromOtherThreads, arrive_in_a_second_application_too) {
    makeApplication();
    application.reset();
    makeApplication();
    const Window window(keys);
    onAnotherThread([] { generate(homeKey); });
    takeTurns();
    EXPECT_EQ(keys, std::vector<int>{Qt::Key_Home});
}

/// Generates a key when the process exits, after its static objects were destroyed.
bool isKeyDueAtExit = false;
[[gnu::destructor]] void generateLastKey() {
    if (isKeyDueAtExit)
        onAnotherThread([] { generate(homeKey); });
}

TEST_F(KeysFromOtherThreads, may_come_while_the_process_exits_without_deleteInstance) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    for (const bool hasApplication : {false, true}) {
        const auto exitWithKey = [&] {
            if (hasApplication)
                makeApplication();
            isKeyDueAtExit = true;
            std::exit(0);
        };
        EXPECT_EXIT(exitWithKey(), testing::ExitedWithCode(0), "Failed to find the active window");
    }
}

/// Generates keys on a thread of its own.
class BusyKeypad {
public:
    ~BusyKeypad() {
        stop = true;
        thread.join();
    }

    /// Has the thread generate \p count further keys, as fast as it can, and returns when it has begun.
    void generateKeys(unsigned int count) {
        const unsigned int before = generated;
        allowed += count;
        while (generated == before && generated != allowed)
            std::this_thread::yield();
    }

private:
    std::atomic<bool> stop{false};
    std::atomic<unsigned int> generated{0}, allowed{0};
    std::thread thread{[this] {
        while (!stop || generated != allowed)
            if (generated == allowed) {
                std::this_thread::yield();
            } else {
                generate(homeKey);
                ++generated;
            }
    }};
};

TEST_F(KeysFromOtherThreads, survive_that_windows_close_meanwhile) {
    makeApplication();
    testing::internal::CaptureStderr(); // no window is active between two
    {
        BusyKeypad keypad;
        for (int i = 0; i < 200; ++i) {
            const Window window(keys);
            keypad.generateKeys(100);
            takeTurns();
        }
    }
    testing::internal::GetCapturedStderr();
    EXPECT_FALSE(keys.empty());
}

TEST_F(KeysFromOtherThreads, survive_that_the_application_ends_meanwhile) {
    testing::internal::CaptureStderr();
    {
        BusyKeypad keypad;
        for (int i = 0; i < 10; ++i) {
            makeApplication();
            keypad.generateKeys(1000);
            application.reset();
        }
    }
    testing::internal::GetCapturedStderr();
}

TEST_F(KeysFromOtherThreads, may_come_while_the_keys_are_mapped_and_a_manager_is_made) {
    testing::internal::CaptureStderr();
    {
        BusyKeypad keypad;
        keypad.generateKeys(20000);
        for (int i = 0; i < 200; ++i)
            KXInputEventManager::getInstance()->setKeyMapping({{Qt::Key_A + i, 100 + i}, {Qt::Key_Home, homeKey}});
        KXInputEventManager::deleteInstance();
        keypad.generateKeys(20000);
        KXInputEventManager::createInstance();
    }
    testing::internal::GetCapturedStderr();
}

} // namespace
} // namespace KX
