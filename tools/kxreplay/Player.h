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

/// A classified event and its origin.
struct PlayedEvent {
    KX::KXInputEvent event;
    std::size_t entry = 0; ///< index of the entry that was played at the time
    std::size_t line = 0;  ///< of that entry
    Durations durations;   ///< at that time
};

/// Whether the play needs Qt: the library turns frames into Qt's key events.
bool needsToolkit(const Recording::Session& session);

/// Plays a session through the library in virtual time.
///
/// Each play starts like a new process: with its own manager, at the tick of the first entry, without mapped keys
/// and with the knob at its start. If the recording has passes of the worker, the player makes exactly these; each
/// reads one waiting frame. Otherwise the player makes passes at a regular beat, until 200 ms after the last
/// input.
///
/// Only in a plain log do the keys of the frames go back to the library. In a recording these keys are separate
/// toolkit events.
///
/// For the thread that drives the simulation. No manager may exist. Frames need a QApplication.
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
    KX::KXInputEventManager* manager = nullptr; // exists during a play
    Durations recordedDurations;
    Durations durations;                       // at this moment
    std::deque<KX::KXCANMessage> unreadFrames; // for the next passes
    bool isBusOpen = false;
    std::uint64_t nowMs = 0;
    std::uint64_t beatStartMs = 0; // the first beat of the passes
    std::uint64_t lastInputMs = 0;
};

} // namespace Replay
