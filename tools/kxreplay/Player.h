#pragma once

#include "events/KXEvent.h"
#include "input/CANRemoteOptions.h"
#include "platform/KXCANMessage.h"
#include "tools/keylayout/KeyLayout.h"
#include "tools/kxreplay/Settings.h"
#include "tools/recording/RecordingReader.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>

namespace KX {
class KXInputEventManager;
}

namespace Replay {

class KeyWindow;

/// A classified event and what it came of.
struct PlayedEvent {
    KX::KXInputEvent event;
    std::size_t entry = 0; ///< index of the entry that was played when it came out
    std::size_t line = 0;  ///< of that entry
    Durations durations;   ///< that held then
};

/// Whether playing takes Qt: there are frames in the session, and the library makes Qt's key events of them.
bool needsToolkit(const Recording::Session& session);

/// Plays a session through the library in virtual time.
///
/// Each play begins as a process does: with a manager of its own, at the tick of the first entry, with no key
/// mapped and the knob at its beginning. Where the passes of the worker thread are in the recording, it makes
/// exactly these, and reads one frame in each as long as there are some; else it passes by its own beat, and for
/// 200 ms after the last input.
///
/// The keys that the library makes of frames go back to it in a plain log only: in a recording they stand as
/// toolkit events of their own.
///
/// For the thread that drives the simulation; there must be no manager. Frames need a QApplication.
class Player {
public:
    struct Options {
        OtherSettings other;
        KX::CANRemoteOptions keypad = KeyLayout::builtIn(); ///< of a plain log
    };

    using Take = std::function<void(const PlayedEvent&)>;
    using StepDone = std::function<void()>;

    /// \p session must outlive the player.
    Player(const Recording::Session& session, Options options);
    ~Player();

    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;

    /// \param take      gets every classified event, in order
    /// \param stepDone  is called after each entry
    void play(const Take& take, const StepDone& stepDone);

private:
    void start();
    void applyOtherSettings();
    void stop();
    void turnKnobBack();

    void comeTo(std::uint64_t timeMs);
    void skipIdleTime(std::uint64_t timeMs);
    void advanceTo(std::uint64_t timeMs);
    void playOn();

    void apply(const KX::KXToolkitEvent& event);
    void apply(const Recording::Frame& frame);
    void apply(const Recording::NumberSetting& setting);
    void apply(const Recording::SpeedTable& table);
    void apply(const Recording::KeyMapping& mapping);
    void apply(const Recording::Keypad& keypad);
    void apply(const Recording::Pass& pass);
    void apply(const Recording::End& end);

    void setDurations(const Durations& wanted);
    void bringFrame(const KX::KXCANMessage& frame);
    void deliverKeys();
    void handOut(std::size_t entry, const Take& take);

    const Recording::Session& session;
    const Options options;
    std::unique_ptr<KeyWindow> window;          // null: no frames
    KX::KXInputEventManager* manager = nullptr; // the singleton, while playing
    Durations recordedDurations;
    Durations durations;                       // that hold
    std::deque<KX::KXCANMessage> unreadFrames; // to be read in passes to come
    bool isBusOpen = false;
    std::uint64_t nowMs = 0;
    std::uint64_t beatStartMs = 0; // from which the worker's own passes are counted
    std::uint64_t lastInputMs = 0;
};

} // namespace Replay
