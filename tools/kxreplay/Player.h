#pragma once

#include "events/KXEvent.h"
#include "recording/KXKeyLayout.h"
#include "recording/KXRecording.h"
#include "tools/kxreplay/Playable.h"
#include "tools/kxreplay/Settings.h"

#include <cstddef>
#include <functional>
#include <memory>

namespace Replay {

/// A classified event and its origin.
struct PlayedEvent {
    KX::KXInputEvent event;
    std::size_t entry = 0; ///< index of the entry that was played at the time
    std::size_t line = 0;  ///< of that entry
    Durations durations;   ///< at that time
};

/// Plays a session through the library, perhaps with other settings than the recorded ones, and tells the origin
/// of each event.
///
/// For the thread that drives the simulation. No manager may exist.
class Player {
public:
    struct Options {
        OtherSettings other;
        std::shared_ptr<const KX::CANRemoteOptions> keypad; ///< of a plain log; null: the built-in one

        /// Makes the QApplication that frames need. Empty: there is one, or frames are left out.
        std::function<void()> beforeFrames;
    };

    using Take = std::function<void(const PlayedEvent&)>;
    using EntryDone = std::function<void()>;

    Player(std::shared_ptr<const KX::Recording::Session> session, Options options);
    Player(Playable playable, Options options);

    /// \param take       gets every classified event, in order
    /// \param entryDone  is called after each entry
    void play(const Take& take, const EntryDone& entryDone);

private:
    void applyOtherSettings();
    void apply(const KX::Recording::NumberSetting& setting);
    void setDurations(const Durations& wanted);
    void handOut(const KX::KXSessionPlayer& player, const Take& take) const;

    const Playable playable;
    const Options options;
    Durations recordedDurations;
    Durations durations; // at this moment
};

} // namespace Replay
