#pragma once

#include "platform/KXExport.h"

#include <memory>
#include <string>

namespace KX {

/// Records a session of the application: every input that reaches the input event manager, with its tick, the
/// settings, the keypad with its frames, and the passes of the worker. The application calls the manager as before.
///
///     KX::KXSessionRecorder recorder(5 * 60 * 1000);   // before or after the manager
///     ...
///     recorder.save("/var/log/complaint.kxr");         // the last five minutes, when the operator complains
///
/// A recording begins at a moment of rest, so that a replay gives the same events to the byte: no press may still
/// become long, the last one is older than the limit of a double press, no bundle of encoder steps is open, and the
/// encoder would restart with the next step. The settings of that moment and the last frames of the keypad stand at
/// its head. Later input may show that the moment was none. Then the recording begins anew at another one as soon as
/// there is one. docs/recording.md describes the file. It tells which keys were pressed, so only the owner may read it:
/// handle it like typed text.
///
/// One recorder at a time observes the session; it takes the place of an observer that was set before. A second one
/// records nothing, and its \ref problem says so; once the first one has gone, \ref start makes it the observer.
/// Another observer that the application sets takes the recorder's place, and nobody tells the recorder. Its next
/// operation finds out: the recording ends, and \ref problem says so. \ref start takes the place back.
///
/// Any thread may call the operations, but no hook and no observer, and not while the manager is deleted.
/// The operator's input waits while a line is written. It also waits while \ref start writes the settings and the input
/// since the last moment of rest. It does not wait while a file is made, nor for \ref save and \ref stop. Make a
/// recorder, destroy it and call \ref start while no other thread calls KXInputEventManager::setKeyMapping or a
/// setter of KXEncoderDynamic.
///
/// When the knob was turned before the tick wraps, no moment of rest is found after it until the knob is turned again.
/// The frames at the head are the keypad's last ones that came while the recorder observed the session. A key may
/// be down at rest if its press cannot become long any more: every manager handles its release alike.
///
/// A recording is of one manager. It ends when the application deletes the manager and makes another one. From then on
/// \ref save writes only what the other one got. It also ends when KXEncoderDynamic::initialize forgets a turn.
///
/// A recording belongs to the process that has started it. In the child of a fork \ref stop returns false, and neither
/// it nor the destructor touches the file.
///
/// When a recording cannot go on, one line on standard error says why. Other problems are told by \ref problem only.
///
/// Without memory for an input, the input goes on, the recording ends and what was kept is dropped. The next \ref start
/// or \ref save begins to keep anew; that \ref save returns false.
class KX_RECORDING_API KXSessionRecorder {
public:
    /// \param keptMs  the last so many milliseconds stay in memory, for \ref save; 0: nothing. They need at most
    ///                4 MiB an hour, and at least 256 KiB. If more happens, the oldest are dropped. Frames that the
    ///                keypad ignores are not kept; each pass that they bring takes 2 bytes.
    /// \throws std::bad_alloc  nobody observes the session
    explicit KXSessionRecorder(unsigned int keptMs = 0);

    /// Ends a recording that goes on.
    ~KXSessionRecorder();

    KXSessionRecorder(const KXSessionRecorder&) = delete;
    KXSessionRecorder& operator=(const KXSessionRecorder&) = delete;

    /// Records into a new file, from the last moment of rest on. In mid-session, with a new recorder, the first one is
    /// the next pass of the worker at which all is at rest. A file that is not empty is never overwritten, and a
    /// symbolic link is not followed. A pipe or a device works, too, but input waits for the reader of a full
    /// pipe. Each input reaches the system before the library gets it, and the disk within two seconds.
    /// \return whether it goes on; otherwise there is no new file, and \ref problem says why
    bool start(const std::string& path);

    /// Ends the recording, and waits until the disk has it. Without one it does nothing. A file that is still empty,
    /// because no moment of rest came, is removed.
    /// \return whether all of it was written, from its beginning, and the file was not removed meanwhile; that is
    ///         noticed within a second and told like a full disk
    bool stop();

    /// Writes what is kept into a new file, as a recording, waits until the disk has it, and goes on.
    /// \return whether all of it was written; otherwise there is no new file, and \ref problem says why
    bool save(const std::string& path);

    /// Why something failed last, in one line "path: why"; empty: nothing did. A recording that failed ends there, and
    /// another one may be started. "no memory was left" comes without a path where memory lacks for that, too.
    /// \throws std::bad_alloc
    std::string problem() const;

    /// Whether a recording goes on.
    bool isRecording() const;

    /// Call it before \ref stop if the events that you take until then must be exactly those that a replay gives: the
    /// worker makes no pass until \ref stop, but waits for five seconds at most. Deleting the manager waits for it.
    /// A recorder that does not observe the session only says so in \ref problem.
    void holdWorker();

private:
    class KX_LOCAL Session;

    const std::unique_ptr<Session> session;
};

} // namespace KX
