#pragma once

#include <QApplication>
#include <QElapsedTimer>
#include <QKeyEvent>
#include <QWidget>
#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <utility>
#include <vector>

namespace KX::test {

/// The application of all tests of a program, without a display; Qt allows no second one. Register it with
/// testing::AddGlobalTestEnvironment.
class OffscreenApplication : public testing::Environment {
public:
    void SetUp() override {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        application = std::make_unique<QApplication>(argumentCount, arguments);
        // Qt stamps input with the milliseconds since then. In the first one input looks as if it had no time.
        QElapsedTimer sinceThen;
        sinceThen.start();
        while (!sinceThen.hasExpired(1)) {
        }
    }

    void TearDown() override { application.reset(); }

private:
    int argumentCount = 1;
    char name[5] = "test";
    char* arguments[2] = {name, nullptr};
    std::unique_ptr<QApplication> application;
};

/// A key event of the toolkit.
struct ToolkitKey {
    bool isPress;
    int key;

    bool operator==(const ToolkitKey& other) const { return isPress == other.isPress && key == other.key; }

    friend std::ostream& operator<<(std::ostream& out, const ToolkitKey& shown) {
        return out << (shown.isPress ? "press of 0x" : "release of 0x") << std::hex << shown.key << std::dec;
    }
};

/// The active window; it notes the key events posted to it.
class KeyRecorder : public QWidget {
public:
    KeyRecorder() {
        show();
        QApplication::setActiveWindow(this);
        QApplication::processEvents();
        EXPECT_EQ(QApplication::activeWindow(), this);
    }

    /// Key events posted since the last call.
    std::vector<ToolkitKey> take() {
        QCoreApplication::sendPostedEvents(); // keys of other threads are posted now
        QCoreApplication::sendPostedEvents(this);
        return std::exchange(keys, {});
    }

protected:
    bool event(QEvent* event) override {
        if (event->type() != QEvent::KeyPress && event->type() != QEvent::KeyRelease)
            return QWidget::event(event);
        const auto* const key = static_cast<QKeyEvent*>(event);
        EXPECT_EQ(key->modifiers(), Qt::NoModifier);
        EXPECT_EQ(key->count(), 1);
        EXPECT_FALSE(key->isAutoRepeat());
        EXPECT_TRUE(key->text().isEmpty());
        keys.push_back({key->type() == QEvent::KeyPress, key->key()});
        return true;
    }

private:
    std::vector<ToolkitKey> keys;
};

} // namespace KX::test
