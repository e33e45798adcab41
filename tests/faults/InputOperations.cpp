// The input event manager and its keypad.

#include "tests/faults/ManagerSupport.h"

#include "encoder/KXEncoderDynamic.h"
#include "events/KXEventQueueAsPipe.h"
#include "events/KXEventType.h"
#include "events/KXKeyCode.h"
#include "input/CANRemoteHandler.h"
#include "input/CANRemoteOptions.h"
#include "input/KXInputEventManager.h"
#include "input/KXInputObserver.h"
#include "platform/KXTick.h"
#include "tests/support/OffscreenKeys.h"
#include "tests/support/OwnCANBus.h"

#include <map>
#include <memory>
#include <poll.h>
#include <thread>
#include <vector>

namespace KX::test {

namespace {

using testing::AnyOf;
using testing::HasSubstr;

const auto* const environment = testing::AddGlobalTestEnvironment(new OffscreenApplication);

constexpr unsigned int keyId = 0x18FF0001;

KXToolkitEvent makeToolkitEvent(int type, int osKeyCode) {
    KXToolkitEvent event;
    event.eventType = type;
    event.osKeyCode = osKeyCode;
    event.timeStamp = KXTick::getTickCount();
    return event;
}

void tap(KXInputEventManager& present, int osKeyCode) {
    for (const int type : {TOOLKIT_KEY_PRESS_EVENT, TOOLKIT_KEY_RELEASE_EVENT}) {
        KXToolkitEvent event = makeToolkitEvent(type, osKeyCode);
        present.toolkitEventOccurred(event);
    }
}

/// A tap of a key becomes a press, or a double press, and a release.
void expectClassifies(KXInputEventManager& present) {
    EXPECT_EQ(takeTypes(present), std::vector<int>());
    tap(present, Qt::Key_Home);
    const std::vector<int> types = takeTypes(present);
    ASSERT_EQ(types.size(), 2U);
    EXPECT_THAT(types[0], AnyOf(KEY_PRESS_EVENT, KEY_DOUBLE_PRESS_EVENT));
    EXPECT_EQ(types[1], KEY_RELEASE_EVENT);
}

/// The key code that the manager has for a key of the toolkit.
int keyCodeOf(KXInputEventManager& present, int osKeyCode) {
    tap(present, osKeyCode);
    const int keyCode = present.getNextEvent().keyCode;
    takeTypes(present);
    return keyCode;
}

const Operation lifecycleOperations[] = {
    {"KXInputEventManager", "createInstance",
     "throws std::bad_alloc and there is none; or works without a worker, or with a closed queue",
     [](Fault& fault) {
         KXInputEventManager::deleteInstance();
         const bool isMade = fault.completes([] { KXInputEventManager::createInstance(); });
         ASSERT_EQ(KXInputEventManager::hasInstance(), isMade);
         if (!isMade)
             return;
         KXInputEventManager& made = *KXInputEventManager::getInstance();
         if (dynamic_cast<KXEventQueueAsPipe&>(*made.getInputEventsQueue()).isConnected())
             expectClassifies(made);
         else
             EXPECT_TRUE(fault.isOf("pipe2"));
         KXInputEventManager::deleteInstance();
     }},

    {"KXInputEventManager", "deleteInstance", "does not fail",
     [](Fault& fault) {
         manager();
         fault.during([] { KXInputEventManager::deleteInstance(); });
         EXPECT_FALSE(KXInputEventManager::hasInstance());
     }},

    {"KXInputEventManager", "initialize_a_second_time",
     "throws std::bad_alloc; works on, and a later call completes it",
     [](Fault& fault) {
         KXInputEventManager& present = manager();
         fault.completes([&] { present.initialize(); });
         expectClassifies(present);
         EXPECT_EQ(present.initialize(), STATUS_OK);
         expectClassifies(present);
     }},

    {"KXInputEventManager", "initialize_after_deinitialize", "throws std::bad_alloc; a later call completes it",
     [](Fault& fault) {
         KXInputEventManager& present = manager();
         present.deinitialize();
         if (!fault.completes([&] { present.initialize(); }))
             EXPECT_EQ(present.initialize(), STATUS_OK);
         if (!fault.isOf("pipe2"))
             expectClassifies(present);
         KXInputEventManager::deleteInstance();
     }},
};

const Operation inputOperations[] = {
    {"KXInputEventManager", "toolkitEventOccurred",
     "allocates nothing; an event that the pipe cannot take is lost with a line",
     [](Fault& fault) {
         KXInputEventManager& present = manager();
         KXToolkitEvent press = makeToolkitEvent(TOOLKIT_KEY_PRESS_EVENT, Qt::Key_Tab);
         EXPECT_EQ(fault.during([&] { return present.toolkitEventOccurred(press); }), STATUS_OK);
         const bool isLost = hasLostEvent(fault);
         EXPECT_EQ(takeTypes(present).size(), isLost ? 0U : 1U);
         KXToolkitEvent release = makeToolkitEvent(TOOLKIT_KEY_RELEASE_EVENT, Qt::Key_Tab);
         present.toolkitEventOccurred(release);
         EXPECT_EQ(takeTypes(present), std::vector<int>{KEY_RELEASE_EVENT});
         expectClassifies(present);
     }},

    {"KXInputEventManager", "getNextEvent", "a default event with a line; a later call takes the event",
     [](Fault& fault) {
         KXInputEventManager& present = manager();
         present.postESCtoEventQueue(true);
         const int type = fault.during([&] { return present.getNextEvent().eventType; });
         EXPECT_EQ(type, fault.isOf("read") && type == 0 ? 0 : KEY_PRESS_EVENT);
         EXPECT_EQ(takeTypes(present).size(), type == 0 ? 1U : 0U);
         expectClassifies(present);
     }},

    {"KXInputEventManager", "postToEventQueue", "an event that the pipe cannot take is lost with a line",
     [](Fault& fault) {
         KXInputEventManager& present = manager();
         EXPECT_EQ(fault.during([&] { return present.postESCtoEventQueue(true); }), STATUS_OK);
         const bool isLost = hasLostEvent(fault);
         EXPECT_EQ(takeTypes(present).size(), isLost ? 0U : 1U);
         expectClassifies(present);
     }},

    {"KXInputEventManager", "settings", "do not fail",
     [](Fault& fault) {
         KXInputEventManager& present = manager();
         fault.during([&] {
             EXPECT_EQ(present.setLongKeyPressDuration(1500), STATUS_OK);
             EXPECT_EQ(present.setDoubleKeyPressDuration(200), STATUS_OK);
             EXPECT_EQ(present.acceptInput(true), STATUS_OK);
             present.setKeyboardLayout(1);
             KXInputEventManager::getMemory();
         });
         EXPECT_EQ(present.initialize(), STATUS_OK);
         expectClassifies(present);
     }},

    {"KXInputEventManager", "setKeyMapping", "throws std::bad_alloc; no key is changed",
     [](Fault& fault) {
         KXInputEventManager& present = manager();
         const std::map<int, int> before = *KXInputEventManager::getKXtoOSCodeMap();
         const std::map<int, int> mapping = {{Qt::Key_A, 70}, {Qt::Key_Home, 6}};
         if (!fault.completes([&] { present.setKeyMapping(mapping); })) {
             EXPECT_EQ(*KXInputEventManager::getKXtoOSCodeMap(), before);
             EXPECT_EQ(keyCodeOf(present, Qt::Key_A), KX_KEY_UNMAPPED);
             EXPECT_EQ(keyCodeOf(present, Qt::Key_Home), KX_KEY_HOME);
             present.setKeyMapping(mapping);
         }
         EXPECT_EQ(keyCodeOf(present, Qt::Key_A), 70);
         EXPECT_EQ(keyCodeOf(present, Qt::Key_Home), 6);
         KXInputEventManager::deleteInstance();
         *KXInputEventManager::getKXtoOSCodeMap() = before; // the table outlives the manager
     }},

    {"KXInputEventManager", "initializeOSCodeToKXCodeMap", "throws std::bad_alloc; no key is changed",
     [](Fault& fault) {
         KXInputEventManager& present = manager();
         present.setKeyMapping({{Qt::Key_Home, 6}});
         const bool isDone = fault.completes([&] { present.initializeOSCodeToKXCodeMap(); });
         EXPECT_EQ(keyCodeOf(present, Qt::Key_Home), isDone ? KX_KEY_HOME : 6);
         present.initializeOSCodeToKXCodeMap();
         EXPECT_EQ(keyCodeOf(present, Qt::Key_Home), KX_KEY_HOME);
     }},
};

const Operation observerOperations[] = {
    {"KXInputEventManager", "setObserver", "throws std::bad_alloc of the observer: then there is none",
     [](Fault& fault) {
         manager();
         KeepingObserver observer;
         if (fault.completes([&] { KXInputEventManager::setObserver(&observer); }))
             EXPECT_EQ(KXInputEventManager::getObserver(), &observer);
         else
             EXPECT_EQ(KXInputEventManager::getObserver(), nullptr);
         KXInputEventManager::setObserver(nullptr);
     }},

    {"KXInputObserver", "onToolkitEvent", "its std::bad_alloc drops the input and passes to the caller",
     [](Fault& fault) {
         KXInputEventManager& present = manager();
         KeepingObserver observer;
         KXInputEventManager::setObserver(&observer);
         observer.told.clear();
         observer.told.shrink_to_fit();
         KXToolkitEvent press = makeToolkitEvent(TOOLKIT_KEY_PRESS_EVENT, Qt::Key_Tab);
         const bool isDone = fault.completes([&] { present.toolkitEventOccurred(press); });
         EXPECT_EQ(observer.told.size(), isDone ? 1U : 0U);
         if (!fault.isOf("write"))
             EXPECT_EQ(takeTypes(present).size(), isDone ? 1U : 0U);
         KXInputEventManager::setObserver(nullptr);
         KXToolkitEvent release = makeToolkitEvent(TOOLKIT_KEY_RELEASE_EVENT, Qt::Key_Tab);
         present.toolkitEventOccurred(release);
         takeTypes(present);
         expectClassifies(present);
     }},
};

CANRemoteOptions layoutWithKeyAt(unsigned int id, bool enabled) {
    CANRemoteOptions options;
    for (KeyOptionsCANRemote& key : options.keys)
        key.canId = -1;
    options.keys[0] = {12, KX_KEY_HOME, 0, 0, static_cast<int>(id), 0};
    options.enabled = enabled;
    return options;
}

KXCANMessage keyFrame(unsigned int id, bool isPressed) {
    KXCANMessage frame;
    frame.canId = id;
    frame.canData[0] = isPressed ? 1 : 0;
    return frame;
}

/// The keys that the window gets when these frames come.
std::vector<ToolkitKey> keysOf(KXInputEventManager& present, KeyRecorder& window,
                               const std::vector<KXCANMessage>& frames) {
    window.take();
    CANRemoteHandler handler(&present);
    OwnCANBus bus;
    bus.frames.assign(frames.begin(), frames.end());
    while (!bus.frames.empty())
        handler.onEndPointReadable(&bus, nullptr);
    return window.take();
}

const std::vector<ToolkitKey> tapOfHome = {{true, Qt::Key_Home}, {false, Qt::Key_Home}};

void expectReads(KXInputEventManager& present, KeyRecorder& window, unsigned int id) {
    EXPECT_EQ(keysOf(present, window, {keyFrame(id, true), keyFrame(id, false)}), tapOfHome);
}

/// Waits until the worker has read the frames of the bus and the window has their keys.
void expectReadsBus(KeyRecorder& window, const std::string& bus) {
    window.take();
    EXPECT_TRUE(sendFrame(bus, keyId, 1));
    EXPECT_TRUE(sendFrame(bus, keyId, 0));
    std::vector<ToolkitKey> keys;
    for (int round = 0; keys.size() < 2 && round < 20000; ++round) {
        poll(nullptr, 0, 1);
        for (const ToolkitKey& key : window.take())
            keys.push_back(key);
    }
    EXPECT_EQ(keys, tapOfHome);
}

/// Enables the keypad, which opens one bus or none. \return whether the call returned
bool enableKeypad(Fault& fault, KXInputEventManager& present) {
    const CANRemoteOptions layout = layoutWithKeyAt(keyId, true);
    const int descriptors = countDescriptors();
    int status = STATUS_OK;
    const bool isDone = fault.completes([&] { status = present.setCANRemoteOptions(layout); });
    const int opened = countDescriptors() - descriptors;
    EXPECT_THAT(opened, AnyOf(0, 1));
    EXPECT_THAT(status, AnyOf(STATUS_OK, STATUS_REFUSED));
    if (!isDone || status == STATUS_REFUSED)
        EXPECT_EQ(opened, 0);
    return isDone;
}

const Operation keypadOperations[] = {
    {"KXInputEventManager", "setCANRemoteOptions_not_enabled", "throws std::bad_alloc; the layout is unchanged",
     [](Fault& fault) {
         const QuietOutput quiet;
         KXInputEventManager& present = manager();
         KeyRecorder window;
         present.setCANRemoteOptions(layoutWithKeyAt(keyId, false));
         const CANRemoteOptions other = layoutWithKeyAt(keyId + 1, false);
         if (!fault.completes([&] { present.setCANRemoteOptions(other); })) {
             expectReads(present, window, keyId);
             present.setCANRemoteOptions(other);
         }
         expectReads(present, window, keyId + 1);
         KXInputEventManager::deleteInstance(); // with its layouts
     }},

    {"CANRemoteHandler", "onEndPointReadable", "a key that cannot be sent comes with the next frame, after a line",
     [](Fault& fault) {
         const QuietOutput quiet;
         KXInputEventManager& present = manager();
         KeyRecorder window;
         present.setCANRemoteOptions(layoutWithKeyAt(keyId, false));
         window.take();
         CANRemoteHandler handler(&present);
         OwnCANBus bus;
         bus.frames = {keyFrame(keyId, true), keyFrame(keyId, true)};
         fault.during([&] { handler.onEndPointReadable(&bus, nullptr); });
         const bool isSent = window.take().size() == 1;
         EXPECT_EQ(isSent, fault.getLines().find("Failed to send the keypad's key 12") == std::string::npos);
         handler.onEndPointReadable(&bus, nullptr);
         EXPECT_EQ(window.take().size(), isSent ? 0U : 1U);
         KXInputEventManager::deleteInstance();
     }},

    {"KXInputEventManager", "setCANRemoteOptions_enabled",
     "throws std::bad_alloc and no bus is open; or the bus cannot be opened. A later call opens it",
     [](Fault& fault) {
         const QuietOutput quiet;
         const Folder folder;
         KXInputEventManager& present = manager();
         KeyRecorder window;
         enableKeypad(fault, present);
         const int descriptors = countDescriptors();
         EXPECT_EQ(present.setCANRemoteOptions(layoutWithKeyAt(keyId, true)), STATUS_OK);
         EXPECT_EQ(countDescriptors(), descriptors + 1) << "the bus";
         expectReadsBus(window, folder.bus);
         KXInputEventManager::deleteInstance();
     },
     Operation::LeavesBus},

    {"KXInputEventManager", "setCANRemoteOptions_a_second_time",
     "as the first time; after an exception, the first bus is read as before",
     [](Fault& fault) {
         const QuietOutput quiet;
         const Folder folder;
         KXInputEventManager& present = manager();
         KeyRecorder window;
         present.setCANRemoteOptions(layoutWithKeyAt(keyId, true));
         expectReadsBus(window, folder.bus);
         if (!enableKeypad(fault, present))
             expectReadsBus(window, folder.bus);
         KXInputEventManager::deleteInstance();
     },
     Operation::LeavesBus},

    {"KXInputEventManager", "generateKeyEvent", "throws std::bad_alloc; nothing is posted",
     [](Fault& fault) {
         manager();
         KeyRecorder window;
         window.take();
         KXInputEvent press;
         press.eventType = KEY_PRESS_EVENT;
         press.keyCode = KX_KEY_HOME;
         const bool isDone = fault.completes([&] { KXInputEventManager::generateKeyEvent(press); });
         EXPECT_EQ(window.take().size(), isDone ? 1U : 0U);
     }},

    {"KXInputEventManager", "generateKeyEvent_on_another_thread", "throws std::bad_alloc; nothing is posted",
     [](Fault& fault) {
         manager();
         KeyRecorder window;
         window.take();
         KXInputEvent press;
         press.eventType = KEY_PRESS_EVENT;
         press.keyCode = KX_KEY_HOME;
         bool isDone = false;
         std::thread([&] {
             isDone = fault.completes([&] { KXInputEventManager::generateKeyEvent(press); });
         }).join();
         EXPECT_EQ(window.take().size(), isDone ? 1U : 0U);
     }},
};

} // namespace

} // namespace KX::test
