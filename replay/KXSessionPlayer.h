#pragma once

#include "events/KXEvent.h"
#include "input/CANRemoteOptions.h"
#include "platform/KXExport.h"
#include "recording/KXRecording.h"
#include "recording/KXSessionFacts.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace KX {

/// Plays a recording through the library in virtual time. So a complaint becomes a test of the application:
///
///     KX::KXSessionPlayer player("complaint.kxr");
///     player.play([&](const KX::KXInputEvent& event) { application.take(event); });
///     EXPECT_EQ(application.openPages(), 1);
///
/// The same recording gives the same events on every machine, to the byte, and takes no longer than the computer
/// needs. Nothing waits for a clock; only the file may block. For programs that link KXAPI::Replay and with it the
/// simulated platform, on the thread that drives the simulation.
///
/// A manager that exists is used, with its own settings where the recording has none: make it before, or let the player
/// make one and delete it at its end. In the second case the simulation is reset first, no key is mapped, and the knob
/// of the keypad is at its start, as in a new process. If the recording has the passes of the worker, the player makes
/// exactly these; otherwise those of KXPassSchedule.
///
/// The log of a CAN bus (`candump -l`) is played, too: its frames become keys. It needs a QApplication, as frames do.
/// The frames of a recording only document the bus, because its keys are recorded as toolkit events; without a
/// QApplication they are left out.
class KX_REPLAY_API KXSessionPlayer {
public:
    /// How to play.
    struct Options {
        /// Of the log of a CAN bus; KeyLayout::builtIn without one.
        std::shared_ptr<const CANRemoteOptions> keypad;

        /// Takes the place of the call that sets a number.
        std::function<void(const Recording::NumberSetting&)> set;

        /// Whether to post what the application posted past classification (postToEventQueue, postESCtoEventQueue).
        /// Not for the test of an application that posts it again when it takes the events.
        bool playsPosts = true;

        /// Called before the first frame is played, for a program that makes its QApplication only when it needs one.
        /// Empty: frames are played if there is a QApplication from the beginning.
        std::function<void()> beforeFrames;
    };

    /// Hands out one entry of a session after the other, each valid until the next call; null at the end.
    using NextEntry = std::function<const Recording::Entry*()>;

    /// Reads a file whole.
    /// \param path  "-" is standard input
    /// \throws std::runtime_error  the file is bad: "file:line: what"
    explicit KXSessionPlayer(const std::string& path);
    /// \copydoc KXSessionPlayer(const std::string&)
    KXSessionPlayer(const std::string& path, Options options);

    /// Plays a session that has been read.
    /// \throws std::runtime_error  a log of a CAN bus without a QApplication
    KXSessionPlayer(std::shared_ptr<const Recording::Session> session, Options options);

    /// Plays entries as they come, so memory does not depend on the length of the session. The passes of a session
    /// without passes are made up to the time of the next entry, so \p next may wait for a file that grows.
    /// \param facts  of the whole session, or of its beginning if it is not complete yet. Without a pass in them, the
    ///               player makes the passes of the whole session.
    /// \throws std::runtime_error  a log of a CAN bus without a QApplication; and what \p next throws
    KXSessionPlayer(const Recording::SessionFacts& facts, NextEntry next, Options options);

    ~KXSessionPlayer();

    KXSessionPlayer(const KXSessionPlayer&) = delete;
    KXSessionPlayer& operator=(const KXSessionPlayer&) = delete;

    /// Plays all that is left. \p take gets each classified event, in order.
    void play(const std::function<void(const KXInputEvent&)>& take);

    /// Plays the next entry of the recording, or makes the pass of the worker that is due before it. The events are
    /// then in the manager's queue.
    /// \return false when nothing was left
    bool step();

    /// The entry that the last step played, or before which it made a pass; an index of the entries.
    std::size_t entry() const;

    /// The line of that entry in its file.
    std::size_t line() const;

    /// Without entries if they come one by one.
    const Recording::Session& session() const;

    /// What a reader of the file should know, each in one line "file:line: what": a cut last line, words of a newer
    /// version.
    const std::vector<std::string>& warnings() const;

private:
    class KX_LOCAL Play;

    const std::unique_ptr<Play> running;
};

} // namespace KX
