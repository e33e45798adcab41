#include "events/KXEventKind.h"

#include <gtest/gtest.h>

#include <string>

namespace KX {
namespace {

bool begins(const std::string& name, const std::string& with) {
    return name.compare(0, with.size(), with) == 0;
}

// The name of a type shows its kind; the test compares name and kind.
KXInputDevice deviceByName(const std::string& name) {
    if (begins(name, "KEY_"))
        return KXInputDevice::Key;
    if (begins(name, "MOUSE_"))
        return KXInputDevice::Mouse;
    return begins(name, "ENCODER_") ? KXInputDevice::Encoder : KXInputDevice::NoDevice;
}

KXGesture gestureByName(const std::string& name) {
    const std::string verb = name.substr(name.find('_') + 1);
    if (verb == "PRESS_EVENT")
        return KXGesture::Press;
    if (verb == "DOUBLE_PRESS_EVENT")
        return KXGesture::DoublePress;
    if (verb == "LONG_PRESS_EVENT")
        return KXGesture::LongPress;
    if (verb == "RELEASE_EVENT")
        return KXGesture::Release;
    if (verb == "LONG_RELEASE_EVENT")
        return KXGesture::LongRelease;
    if (verb == "MOVE_EVENT")
        return KXGesture::Move;
    if (verb == "ENTER_EVENT")
        return KXGesture::Enter;
    return verb == "EXIT_EVENT" ? KXGesture::Exit : KXGesture::Escape;
}

TEST(EventKind, is_what_the_name_of_each_type_says) {
    for (int type = -10; type <= KX_MAX_EVENT_TYPE_NUMBER + 1; ++type) {
        const std::string name = translateEventTypeToString(type);
        const KXEventKind kind = kindOfEventType(type);
        const KXInputDevice device = deviceByName(name);
        EXPECT_EQ(kind.device, device) << name;
        EXPECT_EQ(kind.gesture, device == KXInputDevice::NoDevice ? KXGesture::NoGesture : gestureByName(name))
            << name;
        EXPECT_EQ(isKeyEvent(type), device == KXInputDevice::Key) << name;
        EXPECT_EQ(isMouseEvent(type), device == KXInputDevice::Mouse) << name;
    }
}

TEST(EventKind, of_a_press_event_is_a_press_or_a_double_press) {
    EXPECT_TRUE(isPressEvent(KEY_PRESS_EVENT));
    EXPECT_TRUE(isPressEvent(KEY_DOUBLE_PRESS_EVENT));
    EXPECT_TRUE(isPressEvent(MOUSE_PRESS_EVENT));
    EXPECT_TRUE(isPressEvent(MOUSE_DOUBLE_PRESS_EVENT));
    EXPECT_FALSE(isPressEvent(KEY_LONG_PRESS_EVENT));
    EXPECT_FALSE(isPressEvent(KEY_RELEASE_EVENT));
    EXPECT_FALSE(isPressEvent(MOUSE_ESCAPE_EVENT));
    EXPECT_FALSE(isPressEvent(TOOLKIT_KEY_PRESS_EVENT));
}

} // namespace
} // namespace KX
