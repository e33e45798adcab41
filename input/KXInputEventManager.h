#pragma once

#include "events/KXEvent.h"
#include "events/KXEventQueue.h"
#include "input/CANRemoteOptions.h"
#include "platform/KXExport.h"

#include <atomic>
#include <cstdint>
#include <map>

namespace KX {

class CANRemoteHandler;
class KXCANRaw;
class KXEncoderDynamic;
class KXEndPointManager;
class KXInputObserver;
class KXMutex;
class KXThread;

/// Turns raw operator input into classified events: presses, double presses, long presses, releases and
/// accelerated encoder moves.
///
/// The toolkit's thread hands input in with \ref toolkitEventOccurred; the application's main loop waits on the
/// read end point of \ref getInputEventsQueue and takes classified events with \ref getNextEvent. A worker
/// thread, "inputEventMgr", passes at least every 100 ms and posts what becomes due by time: long presses and
/// bundles of encoder steps.
///
/// An after-post hook of the input queue (KXEventQueue::setAfterPostFunction) runs on the toolkit's thread or on the
/// worker, with the manager's mutex held. It must not hand input in: the mutex is not recursive, so the thread may wait
/// for itself for ever. Both platforms here report it instead, in the debug section "kx_mutex" at level 1.
///
/// One manager serves the process. Creating and deleting it belongs to start-up and shut-down, on one thread.
class KX_EVENTS_API KXInputEventManager {
public:
    /// Makes the manager and starts its worker thread. If there is one already, says so on standard error and
    /// returns that.
    static KXInputEventManager* createInstance();

    /// The manager. Without one, says so on standard error and aborts the process.
    static KXInputEventManager* getInstance();

    /// Stops the worker thread, which takes up to 100 ms, and destroys the manager with its queue and the
    /// encoder dynamics; events not taken are lost. Harmless without a manager.
    static void deleteInstance();

    virtual ~KXInputEventManager();

    KXInputEventManager(const KXInputEventManager&) = delete;
    KXInputEventManager& operator=(const KXInputEventManager&) = delete;

    /// The entry of all input: classifies an event and posts it, unless a classifier takes it over. The event may be
    /// changed on the way. Any thread; holds the manager's mutex meanwhile.
    /// \return STATUS_OK (0) posted, or ignored because input is not accepted (which is said on standard output);
    ///         STATUS_CONSUMED (11) the event is part of an encoder bundle now, or was the release of a step key
    /// \throws std::bad_cast  the event claims a class that it is not
    virtual int inputEventOccurred(KXInputEvent& event);

    /// Takes an event of the graphical toolkit: gives it the library's own type and key code, in place, and
    /// hands it to \ref inputEventOccurred. For the toolkit's thread; \ref setKeyMapping must not run meanwhile.
    /// \return what inputEventOccurred returns; STATUS_REFUSED (20) for a type that is dropped (auto-repeat, enter,
    ///         exit, the toolkit's own double press) or not known, which is said on standard error
    virtual int toolkitEventOccurred(KXToolkitEvent& event);

    /// Makes \p observer the one of the process, which is told of all that reaches the manager; null: nobody. Any
    /// thread, before or after \ref createInstance, but not from an after-post hook. When it returns, no thread is
    /// inside the former observer any more; it waits for a thread that the former one keeps.
    static void setObserver(KXInputObserver* observer);

    /// Sets the defaults and makes the queue, the encoder dynamics, the mutex and the worker thread. The constructor
    /// calls it. Without a thread (the platform refused one, and says so) long presses and bundles are never sent.
    ///
    /// A second call keeps what the first one made, and what was pending: a held key, an open bundle, waiting events.
    /// It accepts input again, puts the default keys back, and sets the two durations anew, the double-press time
    /// first. That is refused when the long-press time of before is not above it: 10 and 100 ms become 10 and 2000.
    ///
    /// After \ref deinitialize it makes everything new. The settings of the encoder are the defaults then, and the
    /// keypad has to be set again: until \ref setCANRemoteOptions opens its bus anew, nobody reads it.
    /// \return STATUS_OK (0)
    int initialize();

    /// Stops the worker thread, which takes up to 100 ms, and destroys what \ref initialize made; events not taken are
    /// lost. The destructor calls it. A second call does nothing. The key tables, the press that may become long, an
    /// open bundle and the keypad's layout stay; its bus is read no more.
    void deinitialize();

    /// What the worker thread runs; \p manager is a KXInputEventManager*.
    static void* inputEventManagerThreadFunc(void* manager);

    // Classified events, for the application's main loop. None of these waits or locks.

    /// The queue of classified events, owned by the manager; null when not initialised. Its read end point
    /// becomes readable when an event waits.
    KXEventQueue* getInputEventsQueue();

    /// Takes the oldest classified event; a default one (\c eventType 0) when none waits.
    KXInputEvent getNextEvent();

    /// Whether a classified event waits.
    bool hasEvents();

    /// Posts an event past all classification. Any thread.
    /// \return STATUS_OK (0), also without a queue, when the event is dropped
    /// \throws std::bad_cast  the event claims a class that it is not
    int postToEventQueue(KXEvent& event);

    /// Posts a press or a release of Escape past all classification, also while input is not accepted; its
    /// \c timeStamp is 0. Any thread.
    /// \return STATUS_OK (0)
    int postESCtoEventQueue(bool pressed);

    // Settings. The first three may be changed from any thread while input arrives.

    /// Whether input is taken; if not, it is lost. True by default.
    /// \return STATUS_OK (0)
    int acceptInput(bool accept);

    /// The longest time between two presses of a key that makes the second a double press, in ms; 300 by
    /// default, inclusive.
    /// \return STATUS_OK (0); STATUS_REFUSED (20) when \p ms is not below the long-press duration: nothing changes
    int setDoubleKeyPressDuration(unsigned int ms);

    /// How long a key must be held for a long press, in ms; 2000 by default, inclusive.
    /// \return STATUS_OK (0); STATUS_REFUSED (20) when \p ms is not above the double-press duration: nothing changes
    int setLongKeyPressDuration(unsigned int ms);

    /// Adds to the key tables, or overwrites what is there: from the toolkit's key code to the library's, and
    /// in the same step the way back. Of two toolkit keys with the same key code, the greater is the way back.
    /// Not locked: not while input is being delivered.
    /// \return STATUS_OK (0)
    int setKeyMapping(std::map<int, int> mapping);

    /// Puts the default keys (Escape, Home, Tab, Return, Up, Down, End) back into the key tables; others stay.
    void initializeOSCodeToKXCodeMap();

    /// The table from the library's key codes to the toolkit's. It belongs to the library, outlives every
    /// manager, and may be read while \ref setKeyMapping does not run.
    static std::map<int, int>* getKXtoOSCodeMap();

    /// Takes the layout of a keypad on the CAN bus and, when it is enabled, opens bus 0 and listens to it from
    /// then on: each change of a key's bit and each move of the encoder becomes a key event by
    /// \ref generateKeyEvent, and one line on standard output.
    ///
    /// Nothing is checked, see \ref CANRemoteOptions. Takes no lock: once, before the keypad's frames can
    /// arrive. It cannot be switched off; the bus and its handler are kept for the life of the process, and
    /// another call opens another one.
    /// \return STATUS_OK (0), also when the keypad is not enabled, the bus does not exist or the manager is not
    ///         initialised; else what KXEndPointManager::addEndPoint returns
    int setCANRemoteOptions(CANRemoteOptions options);

    /// Keeps a number for the layout of the keyboard. No translation depends on it.
    void setKeyboardLayout(int layout);

    /// Posts a Qt key event for the key of \p event to the active window: a press for KEY_PRESS_EVENT and
    /// ENCODER_MOVE_EVENT, a release for any other type. Any thread.
    ///
    /// A key code that is not in \ref getKXtoOSCodeMap gives Qt a null event, which crashes it: check a key layout
    /// before it is used. Without an active window, which is reported on standard error, the Qt event is not freed.
    static void generateKeyEvent(KXInputEvent event);

    // The steps of classification, in the order in which they run. Public for those who drive them with a clock of
    // their own. They take no lock: not while a worker thread or a toolkit thread uses the same manager.
    // STATUS_OK (0): go on; STATUS_CONSUMED (11): the event is taken over and is not posted.

    int convertToEncoderEvents(KXInputEvent& event);
    int bundleKeyEncoderEvents(KXInputEvent& event);
    int convertToDoublePressEvent(KXInputEvent& event);
    int markPossibleLongPress(KXInputEvent& event);

    // The two steps that time sets off; \p now is the present tick. Both return STATUS_OK (0).

    int sendLongPressEvent(unsigned int now);
    int sendEncoderMoveEvent(unsigned int now);

protected:
    /// The singleton makes the manager; a test may derive from it.
    KXInputEventManager();

private:
    // Kept together because double < long must hold whichever thread sets one of them.
    struct PressDurations {
        std::uint32_t doublePressMs;
        std::uint32_t longPressMs;
    };

    class EncoderSettings;         // tells the observer of the encoder's settings
    friend class CANRemoteHandler; // decodes frames by the layout
    friend class Observation;      // tells the observer with the mutex held

    KX_LOCAL void startWorker();
    KX_LOCAL void runWorker();
    KX_LOCAL void makePass();
    KX_LOCAL int classify(KXInputEvent& event);
    KX_LOCAL void post(KXEvent& event);
    KX_LOCAL int renumber(KXToolkitEvent& event);
    KX_LOCAL int openCANRemote();
    KX_LOCAL int keyCodeOf(int osKeyCode) const;
    KX_LOCAL int forwardAs(int eventType, KXToolkitEvent& event);
    KX_LOCAL int forwardKeyAs(int eventType, KXToolkitEvent& event);
    KX_LOCAL void endLongPress(int releaseType);
    KX_LOCAL int convertStepKey(KXInputEvent& event);
    KX_LOCAL void openEncoderBundle(KXInputEvent& step);
    KX_LOCAL void endEncoderBundle();
    KX_LOCAL void turnEncoderBundleBack(KXInputEvent& step);
    KX_LOCAL void accelerate(KXInputEvent& step, KXInputEvent& sum);

    static KXInputEventManager* theInstance;
    static std::map<int, int> kxCodeToOSCodeMap; // written by setKeyMapping only, see there

    // Set from any thread.
    std::atomic<bool> acceptingInput{true};
    std::atomic<PressDurations> pressDurations{PressDurations{300, 2000}};
    std::atomic<bool> stopThread{false};

    // Change only while the worker thread does not run and no input is delivered.
    std::map<int, int> osCodeToKXCodeMap;
    KXEventQueue* inputEventsQueue = nullptr;     // owned
    KXEndPointManager* endPointManager = nullptr; // owned
    KXThread* thread = nullptr;                   // owned
    KXMutex* mutex = nullptr;                     // owned
    KXEncoderDynamic* encoderDynamic = nullptr;   // the process-wide one, destroyed with the manager
    int keyboardLayout = 0;

    // Set once, before frames arrive; from then on the keys' states belong to the thread that decodes frames.
    CANRemoteHandler* canRemoteHandler = nullptr; // never released
    KXCANRaw* canRemoteEndPoint = nullptr;        // never released
    CANRemoteOptions canRemoteOptions;

    // Guarded by mutex.
    KXInputEvent lastPressEvent;     // previous press, as it was before it was reclassified
    KXInputEvent longPressCandidate; // its eventType is the state: press-like, long press sent, or 0
    KXInputEvent encoderBundle;      // open while its eventType is ENCODER_MOVE_EVENT
};

} // namespace KX
