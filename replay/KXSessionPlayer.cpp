#include "replay/KXSessionPlayer.h"

#include "input/KXInputEventManager.h"
#include "platform/KXStatus.h"
#include "platform/KXTick.h"
#include "platform/simulated/KXSimulation.h"
#include "recording/KXFunctionKeys.h"
#include "recording/KXKeyLayout.h"
#include "recording/KXPassSchedule.h"
#include "recording/KXRecordedCalls.h"
#include "replay/KeyWindow.h"
#include "replay/LibraryOutput.h"

#include <QCoreApplication>

#include <algorithm>
#include <deque>
#include <new>
#include <stdexcept>
#include <utility>
#include <variant>

namespace KX {

namespace {

using Recording::Entry;
using Recording::Session;
using Recording::SessionFacts;

constexpr int keypadsBus = 0;
constexpr std::uint64_t longestStepMs = 1U << 30; // a longer one would lie in the past of the tick

std::shared_ptr<const Session> read(const std::string& path, std::vector<std::string>& warnings) {
    return std::make_shared<const Session>(Recording::readFile(
        path, [&warnings](const std::string& warning) { warnings.push_back(warning); }));
}

std::shared_ptr<const Session> sessionWithoutEntries(const SessionFacts& facts) {
    Session session;
    session.isPlainLog = facts.isPlainLog;
    session.hasPasses = facts.hasPasses;
    return std::make_shared<const Session>(std::move(session));
}

} // namespace

class KXSessionPlayer::Play {
public:
    Play(const std::string& path, Options givenOptions)
        : shared(read(path, warnings)), facts(session), options(std::move(givenOptions)), name(path) {
        beginOrDeleteManager();
    }
    Play(std::shared_ptr<const Session> givenSession, Options givenOptions)
        : shared(std::move(givenSession)), facts(session), options(std::move(givenOptions)) {
        beginOrDeleteManager();
    }
    Play(const SessionFacts& givenFacts, NextEntry givenNext, Options givenOptions)
        : shared(sessionWithoutEntries(givenFacts)), facts(givenFacts), nextEntry(std::move(givenNext)),
          options(std::move(givenOptions)) {
        beginOrDeleteManager();
    }
    ~Play();

    Play(const Play&) = delete;
    Play& operator=(const Play&) = delete;

    bool step();

    std::vector<std::string> warnings;
    const std::shared_ptr<const Session> shared;
    const Session& session = *shared;
    std::size_t position = 0; // of the entry that comes next, or of the last one
    std::size_t line = 0;     // of that entry

private:
    const Entry* nextOfSession();
    const Entry* peek();
    void beginOrDeleteManager();
    void begin();
    void beginLog();
    void makeRoomForDurations();
    void turnKnobBack();
    void setTime(std::uint64_t timeMs);
    void pass();
    void bringFrame(const KXCANMessage& frame);

    void apply(const Recording::NumberSetting& setting);
    void apply(const Recording::Frame& frame);
    bool mayMakeWindow() const;
    void makeWindow();
    void apply(const Recording::Pass& /*pass*/) { pass(); }
    void apply(const Recording::End& /*end*/) {}
    void apply(const Recording::Post& post) {
        if (options.playsPosts)
            Recording::repeatCall(post, *manager);
    }
    template<class Call>
    void apply(const Call& call) {
        Recording::repeatCall(call, *manager);
    }

    const SessionFacts facts;
    const NextEntry nextEntry = [this] { return nextOfSession(); };
    const Options options;
    const std::string name = "the recording"; // for messages
    KXPassSchedule schedule{facts};
    std::unique_ptr<KeyWindow> window; // null: frames are left out
    KXInputEventManager* manager = nullptr;
    bool ownsManager = false;
    std::deque<KXCANMessage> unreadFrames; // for the next passes
    const Entry* upcoming = nullptr;       // null: not known yet
    bool isAtEnd = false;
    std::size_t next = 0; // entry
    std::uint64_t nowMs = 0;
};

// A manager that is left behind would be taken for the application's own by the next player.
void KXSessionPlayer::Play::beginOrDeleteManager() {
    try {
        begin();
    } catch (...) {
        if (ownsManager)
            KXInputEventManager::deleteInstance();
        throw;
    }
}

void KXSessionPlayer::Play::begin() {
    ownsManager = !KXInputEventManager::hasInstance();
    const Entry* const first = peek();
    if (first && facts.isPlainLog && !mayMakeWindow())
        throw std::runtime_error(name +
                                 ": the log of a CAN bus needs a QApplication, which makes keys of its frames");
    if (first && (facts.isPlainLog || (facts.frames != 0 && !options.beforeFrames)))
        makeWindow();
    if (ownsManager) {
        KXSimulation::reset();
        KXSimulation::setDebugLevel(1);
    }
    nowMs = first ? first->timeMs : 0;
    KXSimulation::setTick(static_cast<unsigned int>(nowMs));
    if (ownsManager) {
        // The table outlives managers; keys that an earlier play mapped must not stay.
        KXInputEventManager::getKXtoOSCodeMap()->clear();
        KXInputEventManager::createInstance();
    }
    manager = KXInputEventManager::getInstance();
    if (facts.isPlainLog)
        beginLog();
    if (!ownsManager)
        makeRoomForDurations();
}

// The durations at the head of a recording have an order that a new manager accepts. One with durations of its own
// may refuse the first, which must stay apart from the second. It takes both in this order: if the long one is
// refused at first, the double one is below both of its own.
void KXSessionPlayer::Play::makeRoomForDurations() {
    const auto doublePress = facts.doublePressAtHeadMs;
    const auto longPress = facts.longPressAtHeadMs;
    if (!doublePress || !longPress || *doublePress >= *longPress)
        return;
    const Recording::NumberSetting longSetting{KXInputSetting::LongKeyPressDuration, *longPress};
    apply(longSetting);
    apply(Recording::NumberSetting{KXInputSetting::DoubleKeyPressDuration, *doublePress});
    apply(longSetting);
}

void KXSessionPlayer::Play::beginLog() {
    manager->setKeyMapping(KeyLayout::functionKeys());
    const auto& keypad = options.keypad ? *options.keypad : KeyLayout::builtIn();
    if (manager->setCANRemoteOptions(keypad) != STATUS_OK)
        throw std::bad_alloc(); // the simulated platform refuses a bus for no other reason
}

KXSessionPlayer::Play::~Play() {
    if (!ownsManager || !KXInputEventManager::hasInstance())
        return;
    try {
        if (window)
            turnKnobBack();
    } catch (const std::bad_alloc&) {
        // The next play of a turn begins at another position. To end the program here would be worse.
    }
    KXInputEventManager::deleteInstance();
}

// The library keeps the knob's position as long as the process lives, but the next play must start at 0.
void KXSessionPlayer::Play::turnKnobBack() {
    CANRemoteOptions layout = KeyLayout::builtIn();
    layout.enabled = false; // the library keeps an open bus and opens no other
    const LibraryOutput library(LibraryOutput::Goes::Nowhere);
    manager->setCANRemoteOptions(layout);
    KXCANMessage frame;
    frame.canId = layout.encoderCANId;
    bringFrame(frame);
    KXSimulation::endWaits();
    window->dropKeys();
}

const Entry* KXSessionPlayer::Play::nextOfSession() {
    return next < session.entries.size() ? &session.entries[next] : nullptr;
}

const Entry* KXSessionPlayer::Play::peek() {
    if (!upcoming && !isAtEnd) {
        upcoming = nextEntry();
        isAtEnd = !upcoming;
    }
    return upcoming;
}

bool KXSessionPlayer::Play::step() {
    const Entry* const entry = peek();
    if (entry) {
        position = next;
        line = entry->line;
    } else if (next == 0) {
        return false;
    }
    if (const auto passMs = schedule.takeNext(entry ? entry->timeMs : schedule.endMs())) {
        setTime(*passMs);
        pass();
        return true;
    }
    if (!entry)
        return false;
    ++next;
    upcoming = nullptr;
    setTime(entry->timeMs);
    std::visit([this](const auto& input) { apply(input); }, entry->input);
    if (schedule.played(*entry))
        pass();
    return true;
}

void KXSessionPlayer::Play::setTime(std::uint64_t timeMs) {
    while (nowMs < timeMs) {
        nowMs += std::min(longestStepMs, timeMs - nowMs);
        KXSimulation::setTick(static_cast<unsigned int>(nowMs));
    }
}

void KXSessionPlayer::Play::apply(const Recording::NumberSetting& setting) {
    if (options.set)
        options.set(setting);
    else
        Recording::repeatCall(setting, *manager);
}

// The next pass reads it.
void KXSessionPlayer::Play::apply(const Recording::Frame& frame) {
    if (!window && options.beforeFrames && mayMakeWindow())
        makeWindow();
    if (window)
        unreadFrames.push_back(frame.message);
}

// An application's own window must stay the active one, and the keys of a recording's frames are for nobody.
bool KXSessionPlayer::Play::mayMakeWindow() const {
    return (ownsManager || facts.isPlainLog) && (options.beforeFrames || QCoreApplication::instance());
}

void KXSessionPlayer::Play::makeWindow() {
    if (options.beforeFrames)
        options.beforeFrames();
    if (mayMakeWindow() && QCoreApplication::instance())
        window = std::make_unique<KeyWindow>();
}

// The worker reads a frame that is waiting on the bus at once, in a pass of its own. So each pass reads at most one
// frame.
void KXSessionPlayer::Play::pass() {
    if (!unreadFrames.empty()) {
        bringFrame(unreadFrames.front());
        unreadFrames.pop_front();
    }
    KXSimulation::endWaits();
    if (!window)
        return;
    if (!facts.isPlainLog)
        window->dropKeys();
    window->takeKeys(KXTick::getTickCount(), [this](KXToolkitEvent& key) { manager->toolkitEventOccurred(key); });
}

void KXSessionPlayer::Play::bringFrame(const KXCANMessage& frame) {
    KXSimulation::scheduleCANFrame(keypadsBus, KXTick::getTickCount(), frame);
}

KXSessionPlayer::KXSessionPlayer(const std::string& path) : KXSessionPlayer(path, Options()) {}

KXSessionPlayer::KXSessionPlayer(const std::string& path, Options options)
    : running(std::make_unique<Play>(path, std::move(options))) {}

KXSessionPlayer::KXSessionPlayer(std::shared_ptr<const Recording::Session> session, Options options)
    : running(std::make_unique<Play>(std::move(session), std::move(options))) {}

KXSessionPlayer::KXSessionPlayer(const Recording::SessionFacts& facts, NextEntry next, Options options)
    : running(std::make_unique<Play>(facts, std::move(next), std::move(options))) {}

KXSessionPlayer::~KXSessionPlayer() = default;

void KXSessionPlayer::play(const std::function<void(const KXInputEvent&)>& take) {
    KXInputEventManager& manager = *KXInputEventManager::getInstance();
    while (step())
        while (manager.hasEvents())
            take(manager.getNextEvent());
}

bool KXSessionPlayer::step() {
    return running->step();
}

std::size_t KXSessionPlayer::entry() const {
    return running->position;
}

std::size_t KXSessionPlayer::line() const {
    return running->line;
}

const Recording::Session& KXSessionPlayer::session() const {
    return running->session;
}

const std::vector<std::string>& KXSessionPlayer::warnings() const {
    return running->warnings;
}

} // namespace KX
