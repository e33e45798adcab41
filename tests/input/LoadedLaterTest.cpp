// A program may load the library when it runs already, on any of its threads.

#include <QApplication>
#include <QKeyEvent>
#include <QWidget>

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <thread>

namespace {

/// Calls a function of the plugin on another thread. The first call loads the plugin, and with it the library.
void callOnAnotherThread(const char* name) {
    std::thread([name] {
        void* const plugin = dlopen(KX_PLUGIN, RTLD_NOW);
        ASSERT_NE(plugin, nullptr) << dlerror();
        auto* const function = reinterpret_cast<void (*)()>(dlsym(plugin, name));
        ASSERT_NE(function, nullptr) << dlerror();
        function();
    }).join();
}

class Window : public QWidget {
public:
    int presses = 0;

protected:
    void keyPressEvent(QKeyEvent* event) override { presses += event->key() == Qt::Key_Home ? 1 : 0; }
};

TEST(LoadedLater, by_another_thread_leaves_generated_keys_to_the_applications_thread) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    int argumentCount = 1;
    char name[] = "test";
    char* arguments[] = {name, nullptr};
    const QApplication application(argumentCount, arguments);

    testing::internal::CaptureStderr();
    callOnAnotherThread("generateHome");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << "only the application's thread looks for a window";

    testing::internal::CaptureStderr();
    QCoreApplication::processEvents();
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "KXInputEventManager::generateKeyEvent(): Failed to find the "
              "active window to send the event to.\n");

    Window window;
    window.show();
    QApplication::setActiveWindow(&window);
    callOnAnotherThread("createManager"); // knows the key
    callOnAnotherThread("generateHome");
    QCoreApplication::processEvents();
    QCoreApplication::processEvents();
    EXPECT_EQ(window.presses, 1);
    callOnAnotherThread("deleteManager");
}

} // namespace
