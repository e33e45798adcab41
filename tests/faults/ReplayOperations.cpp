// The player of recordings, on the simulated platform.

#include "tests/faults/Support.h"

#include "events/KXEventType.h"
#include "input/KXInputEventManager.h"
#include "recording/KXKeyLayout.h"
#include "recording/KXRecording.h"
#include "replay/KXSessionPlayer.h"
#include "tests/support/OffscreenKeys.h"

#include <Qt>

#include <functional>
#include <memory>
#include <stdexcept>
#include <vector>

namespace KX::test {

namespace {

using testing::StartsWith;

const auto* const environment = testing::AddGlobalTestEnvironment(new OffscreenApplication);

Recording::Session sessionOfATap() {
    Recording::Session session;
    std::uint64_t timeMs = 1000;
    for (const int type : {TOOLKIT_KEY_PRESS_EVENT, TOOLKIT_KEY_RELEASE_EVENT}) {
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

/// A press and a release of a key of the keypad that is built in.
Recording::Session logOfATap() {
    Recording::Session session;
    session.isPlainLog = true;
    const CANRemoteOptions layout = KeyLayout::builtIn();
    for (const unsigned int timeMs : {1000U, 1100U}) {
        Recording::Frame frame{"can0", {}};
        frame.message.canId = static_cast<std::uint32_t>(layout.keys[1].canId);
        if (timeMs == 1000)
            frame.message.canData[layout.keys[1].byteIndex] =
                static_cast<unsigned char>(1U << layout.keys[1].bitIndex);
        session.entries.push_back({timeMs, frame});
    }
    return session;
}

const std::vector<int> tapOfKey = {KEY_PRESS_EVENT, KEY_RELEASE_EVENT};

std::vector<int> play(KXSessionPlayer& player) {
    std::vector<int> types;
    player.play([&](const KXInputEvent& event) { types.push_back(event.eventType); });
    return types;
}

/// After a failure a new player plays the whole session.
void expectMakesPlayer(Fault& fault, const std::function<std::unique_ptr<KXSessionPlayer>()>& make) {
    const QuietOutput quiet;
    std::unique_ptr<KXSessionPlayer> player;
    bool isMade = false;
    try {
        isMade = fault.completes([&] { player = make(); });
    } catch (const std::runtime_error&) {
        EXPECT_TRUE(fault.hasHappened());
    }
    if (!isMade) {
        EXPECT_FALSE(KXInputEventManager::hasInstance()) << "that of the player";
        player = make();
    }
    EXPECT_EQ(play(*player), tapOfKey);
    player.reset();
    EXPECT_FALSE(KXInputEventManager::hasInstance());
}

const Operation playerOperations[] = {
    {"KXSessionPlayer", "make_for_a_file",
     "throws std::bad_alloc, or std::runtime_error about the file; no manager is left",
     [](Fault& fault) {
         const Folder folder;
         const std::string path = folder.path + "a.kxr";
         Recording::writeFile(path, sessionOfATap());
         expectMakesPlayer(fault, [&] { return std::make_unique<KXSessionPlayer>(path); });
     },
     Operation::NeedsSomeMemory},

    {"KXSessionPlayer", "make_for_a_log", "throws std::bad_alloc; no manager is left",
     [](Fault& fault) {
         const auto session = std::make_shared<const Recording::Session>(logOfATap());
         expectMakesPlayer(fault,
                           [&] { return std::make_unique<KXSessionPlayer>(session, KXSessionPlayer::Options()); });
     },
     Operation::NeedsSomeMemory | Operation::LeavesMemory},

    {"KXSessionPlayer", "destroy", "does not fail; no manager is left",
     [](Fault& fault) {
         const QuietOutput quiet;
         const auto session = std::make_shared<const Recording::Session>(logOfATap());
         auto player = std::make_unique<KXSessionPlayer>(session, KXSessionPlayer::Options());
         EXPECT_EQ(play(*player), tapOfKey);
         fault.during([&] { player.reset(); });
         EXPECT_FALSE(KXInputEventManager::hasInstance());
     },
     Operation::NeedsSomeMemory | Operation::LeavesMemory},

    {"KXSessionPlayer", "step", "throws std::bad_alloc; a new player plays the whole session",
     [](Fault& fault) {
         const QuietOutput quiet;
         const auto session = std::make_shared<const Recording::Session>(sessionOfATap());
         auto player = std::make_unique<KXSessionPlayer>(session, KXSessionPlayer::Options());
         fault.completes([&] {
             while (player->step()) {
             }
         });
         player.reset();
         EXPECT_FALSE(KXInputEventManager::hasInstance());
         player = std::make_unique<KXSessionPlayer>(session, KXSessionPlayer::Options());
         EXPECT_EQ(play(*player), tapOfKey);
     },
     Operation::NeedsSomeMemory},
};

} // namespace

} // namespace KX::test
