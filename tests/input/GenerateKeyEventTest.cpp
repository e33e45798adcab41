#include "events/KXEventType.h"
#include "input/KXInputEventManager.h"
#include "platform/simulated/KXSimulation.h"

#include <QApplication>
#include <QKeyEvent>
#include <QWidget>
#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace KX {
namespace {

class KeyRecorder : public QWidget {
public:
    struct Key {
        QEvent::Type type;
        int key, modifiers, count;
        QString text;
        bool autoRepeat;
    };

    std::vector<Key> keys;

protected:
    bool event(QEvent* event) override {
        if (event->type() == QEvent::KeyPress || event->type() == QEvent::KeyRelease) {
            const auto* const key = static_cast<QKeyEvent*>(event);
            keys.push_back({key->type(), key->key(), static_cast<int>(key->modifiers()), key->count(), key->text(),
                            key->isAutoRepeat()});
            return true;
        }
        return QWidget::event(event);
    }
};

class GenerateKeyEvent : public testing::Test {
protected:
    void SetUp() override {
        static int argumentCount = 1;
        static char name[] = "key_event_tests";
        static char* arguments[] = {name, nullptr};
        application = std::make_unique<QApplication>(argumentCount, arguments);
        KXSimulation::reset();
        KXInputEventManager::createInstance();
    }

    void TearDown() override { KXInputEventManager::deleteInstance(); }

    std::unique_ptr<KeyRecorder> activeWindow() {
        auto window = std::make_unique<KeyRecorder>();
        window->show();
        QApplication::setActiveWindow(window.get());
        QApplication::processEvents();
        EXPECT_EQ(QApplication::activeWindow(), window.get());
        return window;
    }

    static void generate(int type, int keyCode) {
        KXInputEvent event;
        event.eventType = type;
        event.keyCode = keyCode;
        KXInputEventManager::generateKeyEvent(event);
    }

    std::unique_ptr<QApplication> application;
};

TEST_F(GenerateKeyEvent, posts_a_press_for_a_press_and_an_encoder_move_and_a_release_for_all_else) {
    const auto window = activeWindow();
    const struct {
        int type;
        QEvent::Type qtType;
    } cases[] = {{KEY_PRESS_EVENT, QEvent::KeyPress},           {ENCODER_MOVE_EVENT, QEvent::KeyPress},
                 {KEY_RELEASE_EVENT, QEvent::KeyRelease},       {KEY_DOUBLE_PRESS_EVENT, QEvent::KeyRelease},
                 {KEY_LONG_PRESS_EVENT, QEvent::KeyRelease},    {0, QEvent::KeyRelease},
                 {TOOLKIT_KEY_PRESS_EVENT, QEvent::KeyRelease}, {-1, QEvent::KeyRelease}};
    for (const auto& test : cases) {
        window->keys.clear();
        generate(test.type, 1);
        EXPECT_TRUE(window->keys.empty()) << "posted, not sent";
        QApplication::sendPostedEvents(window.get());
        ASSERT_EQ(window->keys.size(), 1U) << test.type;
        const KeyRecorder::Key& key = window->keys.front();
        EXPECT_EQ(key.type, test.qtType) << test.type;
        EXPECT_EQ(key.key, Qt::Key_Home);
        EXPECT_EQ(key.modifiers, static_cast<int>(Qt::NoModifier));
        EXPECT_EQ(key.count, 1);
        EXPECT_TRUE(key.text.isEmpty());
        EXPECT_FALSE(key.autoRepeat);
    }
}

TEST_F(GenerateKeyEvent, maps_every_default_key_back) {
    const auto window = activeWindow();
    for (const auto& [keyCode, toolkitCode] : *KXInputEventManager::getKXtoOSCodeMap()) {
        window->keys.clear();
        generate(KEY_PRESS_EVENT, keyCode);
        QApplication::sendPostedEvents(window.get());
        ASSERT_EQ(window->keys.size(), 1U);
        EXPECT_EQ(window->keys.front().key, toolkitCode);
    }
}

TEST_F(GenerateKeyEvent, without_an_active_window_says_so_and_keeps_the_qt_event) {
    testing::internal::CaptureStderr();
    generate(KEY_PRESS_EVENT, 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "KXInputEventManager::generateKeyEvent(): Failed to find the active window to send the event to.\n");
}

TEST_F(GenerateKeyEvent, of_an_unknown_key_without_a_window_says_so_too) {
    testing::internal::CaptureStderr();
    generate(KEY_PRESS_EVENT, 4711);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "KXInputEventManager::generateKeyEvent(): Failed to find the active window to send the event to.\n");
}

// An unchecked key layout gives Qt a null event, which crashes the process.
TEST_F(GenerateKeyEvent, of_an_unknown_key_takes_the_process_down) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const auto window = activeWindow();
    EXPECT_DEATH(generate(KEY_PRESS_EVENT, 4711), "");
}

} // namespace
} // namespace KX
