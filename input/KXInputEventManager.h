#pragma once

#include "events/KXEvent.h"
#include "events/KXEventQueue.h"
#include "input/CANRemoteOptions.h"
#include "platform/KXExport.h"
#include "platform/KXLocks.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>

namespace KX {

class CANRemoteHandler;
class KXCANRaw;
class KXEncoderDynamic;
class KXEndPointManager;
class KXInputObserver;
class KXMutex;
class KXThread;
struct KXInputMemory;

/// Turns operator input into classified events: presses, double presses, long presses, releases and accelerated
/// encoder moves.
///
/// The toolkit's thread calls \ref toolkitEventOccurred. The application's main loop waits on the read end point
/// of \ref getInputEventsQueue and calls \ref getNextEvent. A worker thread, "inputEventMgr", makes a pass about
/// every 100 ms and after each frame of the keypad's bus. It posts long presses and bundles of encoder steps that
/// are due.
///
/// An after-post hook of the input queue (KXEventQueue::setAfterPostFunction) runs on the thread that posts: for
/// classified events on the toolkit's thread or the worker, with the manager's mutex held. It must not hand input
/// in: the mutex is not recursive, so the thread may deadlock. Both platforms here report it instead, in the debug
/// section "kx_mutex" at level 1.
///
/// If a hook throws, the event is in the queue. On the toolkit's thread the exception passes to the caller, and
/// what the same input would have posted next is lost, such as a release after its long release. On the worker one
/// line on standard error says what was not finished, also for an observer that throws and for a lack of memory.
/// The worker goes on, after 100 ms if its wait for end points failed.
///
/// The worker writes a line to standard output for each key and each encoder move of a keypad. If nobody reads the
/// pipe there, it blocks as soon as the pipe is full: frames, long presses, bundles and \ref deleteInstance wait.
/// It holds no mutex meanwhile, so the toolkit's thread goes on until it writes a line itself.
///
/// One manager serves the process. Create it at start-up and delete it at shut-down, on one thread.
class KX_EVENTS_API KXInputEventManager {
public:
    /// Makes the manager, which belongs to the class until \ref deleteInstance, and starts its worker thread. If
    /// one exists already, reports that on standard error and returns it.
    /// \throws std::bad_alloc  there is no manager
    [[gnu::cold]] static KXInputEventManager* createInstance();

    /// The manager. Without one, reports that on standard error and aborts the process.
    static KXInputEventManager* getInstance();

    /// Whether there is a manager.
    static bool hasInstance();

    /// Stops the worker thread, which takes up to 100 ms, or longer while standard output or an observer blocks the
    /// worker. Destroys the manager, its queue with all events in it and the encoder dynamics. Harmless without a
    /// manager.
    [[gnu::cold]] static void deleteInstance();

    [[gnu::cold]] virtual ~KXInputEventManager();

    KXInputEventManager(const KXInputEventManager&) = delete;
    KXInputEventManager& operator=(const KXInputEventManager&) = delete;

    /// Classifies an event and posts it, unless a classifier consumes it. May change the event. Any thread; holds
    /// the manager's mutex.
    /// \return STATUS_OK (0) posted, or ignored because input is not accepted, which standard output reports;
    ///         STATUS_CONSUMED (11) the event joined an encoder bundle, or was the release of a step key
    /// \throws std::bad_cast  the event claims a class that it is not
    virtual int inputEventOccurred(KXInputEvent& event);

    /// Gives an event of the graphical toolkit the library's type and key code, in place, and passes it to
    /// \ref inputEventOccurred. For the toolkit's thread; \ref setKeyMapping must not run meanwhile.
    ///
    /// A key that is not in the key tables gets the key code KX_KEY_UNMAPPED. TOOLKIT_CLICK_EVENT becomes type
    /// 1010, which has no name. REMOVE_POOL_WIDGETS_CONFIRM_EVENT passes with its own type.
    /// \return what inputEventOccurred returns; STATUS_REFUSED (20) for a type that is unknown, which standard
    ///         error reports, or dropped: auto-repeat, enter, exit, the toolkit's own double press
    virtual int toolkitEventOccurred(KXToolkitEvent& event);

    /// Sets the observer of the process, which sees all that reaches the manager; null: none. Any thread, before
    /// or after \ref createInstance, but not while a manager is made, initialised or deleted, nor from a hook or an
    /// observer. Input that another thread is just handing in may not be told. If an operation of the new observer
    /// throws here, there is no observer. Waits until no thread is inside the former observer. A new observer is first
    /// told the present settings of the manager, as if they were set now; nobody may set the encoder or the keys
    /// meanwhile.
    static void setObserver(KXInputObserver* observer);

    /// The observer that was set last; null: none. Any thread, also from a hook or an observer: takes no lock.
    static KXInputObserver* getObserver();

    /// For observers, inside an operation other than onPassDue: what the manager remembers at this moment.
    /// \return a default one without a manager
    static KXInputMemory getMemory();

    /// Sets the defaults and makes the queue, the encoder dynamics, the mutex and the worker thread. The
    /// constructor calls it. If the platform refuses the thread, the platform reports that, and long presses
    /// and bundles are never sent. Without a mutex they are not sent either, and input must come on one thread.
    ///
    /// A second call keeps these objects and what is pending: a held key, an open bundle, queued events. It
    /// accepts input again, restores the default keys, and sets the durations to their defaults, the double-press
    /// time first. That is refused if it is not below the present long-press time. So 10 ms and 100 ms become 10 ms and
    /// 2000 ms: 300 ms is not below 100 ms.
    ///
    /// After \ref deinitialize it makes everything new, with the default settings of the encoder. The keypad's bus
    /// is not read until \ref setCANRemoteOptions opens it again.
    /// \return STATUS_OK (0)
    /// \throws std::bad_alloc  a later call makes what is missing
    [[gnu::cold]] int initialize();

    /// Stops the worker thread, which takes up to 100 ms, and destroys what \ref initialize made, with all queued
    /// events. The destructor calls it. A second call does nothing. The key tables, the press that may become
    /// long, an open bundle, the durations and the keypad's layout stay. Its bus is no longer read.
    [[gnu::cold]] void deinitialize();

    /// The worker thread's function; \p manager is a KXInputEventManager*.
    [[gnu::cold]] static void* inputEventManagerThreadFunc(void* manager);

    // For the application's main loop. The next four neither wait nor lock.

    /// The queue of classified events, owned by the manager; null when not initialised. Its read end point is
    /// readable while it holds an event.
    KXEventQueue* getInputEventsQueue();

    /// Counts the queues that the managers of this process have made, from 1; 0 when not initialised. A new queue may
    /// have the address and the end points of a former one, but never its number.
    unsigned int getInputEventsQueueNumber() const { return inputEventsQueue ? inputEventsQueueNumber : 0; }

    /// Takes the oldest classified event; a default one (\c eventType 0) if the queue is empty.
    KXInputEvent getNextEvent();

    /// Whether an event waits.
    bool hasEvents();

    /// Posts an event without classification. Any thread.
    /// \return STATUS_OK (0), also if the event is dropped for lack of a queue
    /// \throws std::bad_cast  the event claims a class that it is not
    int postToEventQueue(KXEvent& event);

    /// Posts a press or a release of Escape without classification, also while input is not accepted. Any thread.
    /// The event has the key code KX_KEY_ESCAPE, \c osKeyCode KX_KEY_UNMAPPED, \c value -1 and \c timeStamp 0.
    /// \return STATUS_OK (0)
    int postESCtoEventQueue(bool pressed);

    // Settings. The first three may be changed from any thread while input arrives.

    /// Whether input is accepted; if not, it is lost. True by default.
    /// \return STATUS_OK (0)
    int acceptInput(bool accept);

    /// The longest time between the two presses of a double press, in ms, inclusive; 300 by default.
    /// \return STATUS_OK (0); STATUS_REFUSED (20) when \p ms is not below the long-press duration: no change
    int setDoubleKeyPressDuration(unsigned int ms);

    /// The shortest time of a long press, in ms, inclusive; 2000 by default.
    /// \return STATUS_OK (0); STATUS_REFUSED (20) when \p ms is not above the double-press duration: no change
    int setLongKeyPressDuration(unsigned int ms);

    /// Adds to the key tables or overwrites entries, from toolkit key codes to the library's and back. If two
    /// toolkit keys have the same key code, \ref getKXtoOSCodeMap has the greater one. Call it while no input is
    /// delivered. Other threads may generate keys meanwhile.
    /// \return STATUS_OK (0)
    /// \throws std::bad_alloc  no key is changed
    [[gnu::cold]] int setKeyMapping(std::map<int, int> mapping);

    /// Restores the default keys (Escape, Home, Tab, Return, Up, Down, End) in the key tables; others stay.
    [[gnu::cold]] void initializeOSCodeToKXCodeMap();

    /// The table from the library's key codes to the toolkit's. The library owns it, and it outlives every
    /// manager. Read it only while \ref setKeyMapping does not run, which makes references into it invalid.
    static std::map<int, int>* getKXtoOSCodeMap();

    /// Sets the layout of a keypad on the CAN bus. If the keypad is enabled, opens bus 0 and listens to it. Each
    /// change of a key's bit and each move of the encoder becomes a key event by \ref generateKeyEvent and one
    /// line on standard output.
    ///
    /// Nothing is checked, see \ref CANRemoteOptions. Takes no lock: call it once, before frames of the keypad can
    /// arrive. It cannot be undone: the bus and its handler stay until the process ends, and another call opens
    /// another bus.
    /// \return STATUS_OK (0), also when the keypad is not enabled, the bus cannot be opened or the manager is not
    ///         initialised; else what KXEndPointManager::addEndPoint returns: then the bus is closed again
    /// \throws std::bad_alloc  the layout is unchanged, no bus is open
    int setCANRemoteOptions(CANRemoteOptions options);

    /// Stores a number for the layout of the keyboard. No translation depends on it.
    void setKeyboardLayout(int layout);

    /// Posts a Qt key event for the key of \p event to the active window: a press for KEY_PRESS_EVENT and
    /// ENCODER_MOVE_EVENT, a release for any other type.
    ///
    /// Any thread. On another thread than the QApplication's, the call only posts a request. The application's
    /// thread takes it in a turn of its event loop, looks for the active window and posts the key, which arrives in
    /// the next turn. Keys keep their order. Requests that wait when the QApplication is destroyed are taken then.
    ///
    /// A key code that is not in \ref getKXtoOSCodeMap gives Qt a null event, which crashes it: check a key layout
    /// before use. The thread that looks for the window reports a missing one on standard error, and the Qt event
    /// is not freed. Without a QApplication that is the calling thread.
    /// \throws std::bad_alloc  nothing is posted
    static void generateKeyEvent(KXInputEvent event);

    // The steps of classification, in their order. Public for programs that drive them with a clock of their own.
    // They take no lock: never call them while a worker thread or a toolkit thread uses the same manager. If clang
    // checks locks in your program, mark the calling function with KX_NO_THREAD_SAFETY_ANALYSIS.

    /// Makes a press of a step key an encoder move and bundles it; accelerates a move that arrives as such.
    /// \return STATUS_OK (0) go on; STATUS_CONSUMED (11) the event joined a bundle, or was a step key's release
    int convertToEncoderEvents(KXInputEvent& event) KX_REQUIRES(mutex);
    /// Opens a bundle of encoder steps with this move, or adds the move to the open one.
    /// \return STATUS_OK (0) go on; STATUS_CONSUMED (11) the move joined the bundle, or ended it
    int bundleKeyEncoderEvents(KXInputEvent& event) KX_REQUIRES(mutex);
    /// Makes a second press within the double-press duration a double press.
    /// \return STATUS_OK (0) go on
    int convertToDoublePressEvent(KXInputEvent& event) KX_REQUIRES(mutex);
    /// Remembers a press that may become long. Posts the long release before the release of a long press.
    /// \return STATUS_OK (0) go on
    int markPossibleLongPress(KXInputEvent& event) KX_REQUIRES(mutex);

    // The two steps of a pass.

    /// Posts the long press of a press that is held long enough.
    /// \param now  the present tick; the long press gets it as its time stamp
    /// \return STATUS_OK (0)
    int sendLongPressEvent(unsigned int now) KX_REQUIRES(mutex);
    /// Looks at a bundle that was opened, or last posted, 50 ms ago or more: posts it if it has steps, else closes it.
    /// \param now  the present tick; the time stamp of the bundle is that of its beginning or of its last post
    /// \return STATUS_OK (0)
    int sendEncoderMoveEvent(unsigned int now) KX_REQUIRES(mutex);

protected:
    /// The singleton makes the manager; a test may derive from it.
    [[gnu::cold]] KXInputEventManager();

private:
    struct PressDurations {
        std::uint32_t doublePressMs;
        std::uint32_t longPressMs;
    };

    // One atomic, because double < long must hold whichever thread sets one. It is a number: a std::atomic of the
    // struct copies through a buffer, which a protected stack makes 17 instructions longer on the target.
    class AtomicPressDurations {
    public:
        explicit AtomicPressDurations(PressDurations durations) : both(toNumber(durations)) {}

        PressDurations load() const { return fromNumber(both.load()); }

        bool compare_exchange_weak(PressDurations& expected, PressDurations durations) {
            std::uint64_t number = toNumber(expected);
            const bool isExchanged = both.compare_exchange_weak(number, toNumber(durations));
            expected = fromNumber(number);
            return isExchanged;
        }

    private:
        static constexpr std::uint64_t toNumber(PressDurations durations) {
            return std::uint64_t{durations.longPressMs} << 32 | durations.doublePressMs;
        }

        static constexpr PressDurations fromNumber(std::uint64_t number) {
            return {static_cast<std::uint32_t>(number), static_cast<std::uint32_t>(number >> 32)};
        }

        std::atomic<std::uint64_t> both;
    };

    static constexpr std::uint32_t defaultDoublePressMs = 300;
    static constexpr std::uint32_t defaultLongPressMs = 2000;

    class EncoderSettings;         // tells the observer of the encoder's settings
    class KeyRequests;             // brings generated keys to the application's thread
    friend class CANRemoteHandler; // decodes frames by the layout
    friend class Observation;      // tells the observer with the mutex held

    [[gnu::cold]] KX_LOCAL void startWorker();
    [[gnu::cold]] KX_LOCAL void runWorker();
    [[gnu::cold]] KX_LOCAL void makePass() KX_EXCLUDES(mutex);
    KX_LOCAL int classify(KXInputEvent& event) KX_REQUIRES(mutex);
    KX_LOCAL void post(KXEvent& event);
    KX_LOCAL int renumber(KXToolkitEvent& event);
    KX_LOCAL int openCANRemote(CANRemoteOptions& layout, std::unique_ptr<CANRemoteHandler> handler);
    KX_LOCAL void tellSettings(KXInputObserver& observer) const;
    KX_LOCAL int keyCodeOf(int osKeyCode) const;
    KX_LOCAL static std::optional<int> toolkitCodeOf(int keyCode) KX_EXCLUDES(keyTableMutex);
    KX_LOCAL static void postKey(const KXInputEvent& event);
    KX_LOCAL int forwardAs(int eventType, KXToolkitEvent& event);
    KX_LOCAL int forwardKeyAs(int eventType, KXToolkitEvent& event);
    KX_LOCAL void endLongPress(int releaseType) KX_REQUIRES(mutex);
    KX_LOCAL int convertStepKey(KXInputEvent& event) KX_REQUIRES(mutex);
    KX_LOCAL void openEncoderBundle(KXInputEvent& step) KX_REQUIRES(mutex);
    KX_LOCAL void endEncoderBundle() KX_REQUIRES(mutex);
    KX_LOCAL void turnEncoderBundleBack(KXInputEvent& step) KX_REQUIRES(mutex);
    KX_LOCAL void accelerate(KXInputEvent& step, KXInputEvent& sum) KX_REQUIRES(mutex);

    static std::atomic<KXInputEventManager*> theInstance;

    // Any thread may generate keys, also while another one sets the table. Held for one entry or one merge.
    KX_LOCAL static KXStdMutex keyTableMutex;
    static std::map<int, int>& kxCodeToOSCodeMap KX_GUARDED_BY(keyTableMutex); // never destroyed

    // Set from any thread.
    std::atomic<bool> acceptingInput{true};
    AtomicPressDurations pressDurations{{defaultDoublePressMs, defaultLongPressMs}};
    std::atomic<bool> stopThread{false};

    // Change only while the worker thread does not run and no input is delivered.
    std::map<int, int> osCodeToKXCodeMap;
    KXEventQueue* inputEventsQueue = nullptr; // owned
    unsigned int inputEventsQueueNumber = 0;
    KXEndPointManager* endPointManager = nullptr; // owned
    KXThread* thread = nullptr;                   // owned
    KXMutex* mutex = nullptr;                     // owned
    KXEncoderDynamic* encoderDynamic = nullptr;   // the process-wide one, destroyed with the manager
    int keyboardLayout = 0;

    // Set once, before frames arrive. Then only the thread that decodes frames uses the keys' states.
    CANRemoteHandler* canRemoteHandler = nullptr; // never released
    KXCANRaw* canRemoteEndPoint = nullptr;        // never released
    CANRemoteOptions canRemoteOptions;
    CANRemoteOptions canRemoteLayout; // as it was set: for observers, which must not read the keys' states

    // Previous press, as it was before it was reclassified.
    KXInputEvent lastPressEvent KX_GUARDED_BY(mutex);

    // Its eventType is the state: press-like, long press sent, or 0.
    KXInputEvent longPressCandidate KX_GUARDED_BY(mutex);

    // Open while its eventType is ENCODER_MOVE_EVENT.
    KXInputEvent encoderBundle KX_GUARDED_BY(mutex);
};

} // namespace KX
