// One application without a display for all tests of the program, because Qt allows only one.

#include "terminal/look/Theme.h"

#include <QApplication>

#include <gtest/gtest.h>

#include <memory>

using namespace Terminal;

namespace {

class OffscreenApplication : public testing::Environment {
public:
    void SetUp() override {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        application = std::make_unique<QApplication>(argumentCount, arguments);
        Theme::apply(*application);
    }

    void TearDown() override { application.reset(); }

private:
    int argumentCount = 1;
    char name[14] = "terminal_test";
    char* arguments[2] = {name, nullptr};
    std::unique_ptr<QApplication> application;
};

const auto* const environment = testing::AddGlobalTestEnvironment(new OffscreenApplication);

} // namespace
