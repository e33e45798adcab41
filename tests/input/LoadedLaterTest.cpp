// A program may load the library when it runs already, on any of its threads.

#include <QApplication>

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <thread>

namespace {

TEST(LoadedLater, by_another_thread_leaves_generated_keys_to_the_applications_thread) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    int argumentCount = 1;
    char name[] = "test";
    char* arguments[] = {name, nullptr};
    const QApplication application(argumentCount, arguments);

    testing::internal::CaptureStderr();
    std::thread([] {
        void* const plugin = dlopen(KX_PLUGIN, RTLD_NOW);
        ASSERT_NE(plugin, nullptr) << dlerror();
        auto* const generateHome = reinterpret_cast<void (*)()>(dlsym(plugin, "generateHome"));
        ASSERT_NE(generateHome, nullptr) << dlerror();
        generateHome();
    }).join();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << "only the application's thread looks for a window";

    testing::internal::CaptureStderr();
    QCoreApplication::processEvents();
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "KXInputEventManager::generateKeyEvent(): Failed to find the "
              "active window to send the event to.\n");
}

} // namespace
