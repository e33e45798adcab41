#include "tools/kxreplay/Player.h"

#include "encoder/KXEncoderDynamic.h"
#include "input/KXInputEventManager.h"
#include "platform/KXTick.h"
#include "platform/simulated/KXSimulation.h"
#include "tools/keylayout/FunctionKeys.h"
#include "tools/kxreplay/KeyWindow.h"
#include "tools/kxreplay/LibraryOutput.h"
#include "tools/recording/RecordedCalls.h"

#include <algorithm>
#include <iostream>
#include <utility>
#include <variant>

namespace Replay {

namespace {

using KX::KXSimulation;
using Recording::Entry;

constexpr int keypadsBus = 0;
constexpr unsigned int passIntervalMs = 100;
constexpr unsigned int playOnMs = 200;
constexpr std::uint64_t longestStepMs = 1U << 30;

} // namespace

bool needsToolkit(const Recording::Session& session) {
    return std::any_of(
        session.entries.begin(), session.entries.end(),
        [](const Entry& entry) { return std::holds_alternative<Recording::Frame>(entry.input); });
}

Player::Player(const Recording::Session& playedSession, Options playerOptions)
    : session(playedSession), options(std::move(playerOptions)) {
    if (needsToolkit(session))
        window = std::make_unique<KeyWindow>();
}

Player::~Player() {
    stop();
}

void Player::play(const Take& take, const StepDone& stepDone) {
    start();
    for (std::size_t i = 0; i < session.entries.size(); ++i) {
        const Entry& entry = session.entries[i];
        comeTo(entry.timeMs);
        handOut(i, take); // before a setting changes the durations that held for them
        std::visit([this](const auto& input) { apply(input); }, entry.input);
        handOut(i, take);
        stepDone();
    }
    if (!session.hasPasses && !session.entries.empty()) {
        playOn();
        handOut(session.entries.size() - 1, take);
    }
    stop();
}

void Player::start() {
    KXSimulation::reset();
    KXSimulation::setDebugLevel(1);
    nowMs = session.entries.empty() ? 0 : session.entries.front().timeMs;
    beatStartMs = nowMs;
    lastInputMs = nowMs;
    KXSimulation::setTick(static_cast<unsigned int>(nowMs));
    // The table outlives managers; keys that an earlier play mapped must not stay.
    KX::KXInputEventManager::getKXtoOSCodeMap()->clear();
    manager = KX::KXInputEventManager::createInstance();
    recordedDurations = {};
    durations = {};
    isBusOpen = false;
    applyOtherSettings();
    if (session.isPlainLog) {
        manager->setKeyMapping(KeyLayout::functionKeys());
        apply(Recording::Keypad{std::make_shared<const KX::CANRemoteOptions>(options.keypad)});
    }
}

void Player::applyOtherSettings() {
    const OtherSettings& other = options.other;
    setDurations(other.applyTo(recordedDurations));
    KX::KXEncoderDynamic* const encoder = KX::KXEncoderDynamic::instance();
    if (other.userFactor)
        encoder->setUserFactor(*other.userFactor);
    if (other.lowPass)
        encoder->setLowPassFactor(*other.lowPass);
}

void Player::stop() {
    if (!manager)
        return;
    if (window)
        turnKnobBack();
    unreadFrames.clear();
    KX::KXInputEventManager::deleteInstance();
    manager = nullptr;
}

// The library keeps the knob's position as long as the process lives, but the next play must start at 0.
void Player::turnKnobBack() {
    KX::CANRemoteOptions layout = KeyLayout::builtIn();
    layout.enabled = false; // the library keeps an open bus and opens no other
    const LibraryOutput library(LibraryOutput::Goes::Nowhere);
    manager->setCANRemoteOptions(layout);
    KX::KXCANMessage frame;
    frame.canId = layout.encoderCANId;
    bringFrame(frame);
    KXSimulation::endWaits();
    window->dropKeys();
}

void Player::comeTo(std::uint64_t timeMs) {
    if (session.hasPasses) {
        KXSimulation::setTick(static_cast<unsigned int>(timeMs));
        nowMs = timeMs;
    } else {
        skipIdleTime(timeMs);
        advanceTo(timeMs);
    }
}

// A clock that was set while a log was written leaves a gap of years. Once nothing is pending, passes have no
// effect and are skipped. The passes after the gap keep their beat.
void Player::skipIdleTime(std::uint64_t timeMs) {
    const std::uint64_t allIsDoneMs = nowMs + durations.longPressMs + std::uint64_t{10} * passIntervalMs;
    const std::uint64_t fromMs = beatStartMs + (allIsDoneMs - beatStartMs) / passIntervalMs * passIntervalMs;
    if (timeMs < fromMs + 2 * passIntervalMs)
        return;
    advanceTo(fromMs);
    const std::uint64_t toMs = fromMs + (timeMs - fromMs) / passIntervalMs * passIntervalMs;
    while (nowMs < toMs) {
        nowMs += std::min(longestStepMs, toMs - nowMs);
        KXSimulation::setTick(static_cast<unsigned int>(nowMs));
    }
    KXSimulation::advance(0);
}

void Player::advanceTo(std::uint64_t timeMs) {
    while (nowMs < timeMs) {
        const std::uint64_t stepMs = std::min(longestStepMs, timeMs - nowMs);
        KXSimulation::advance(static_cast<unsigned int>(stepMs));
        nowMs += stepMs;
    }
}

void Player::playOn() {
    advanceTo(lastInputMs + playOnMs);
}

void Player::apply(const KX::KXToolkitEvent& event) {
    lastInputMs = nowMs;
    Recording::repeatCall(event, *manager);
}

void Player::apply(const Recording::Frame& frame) {
    lastInputMs = nowMs;
    if (session.hasPasses) {
        unreadFrames.push_back(frame.message);
        return;
    }
    bringFrame(frame.message);
    KXSimulation::advance(0);
    if (isBusOpen)
        beatStartMs = nowMs;
    if (session.isPlainLog)
        deliverKeys();
    else
        window->dropKeys();
}

void Player::apply(const Recording::NumberSetting& setting) {
    if (setting.name == KX::KXInputSetting::DoubleKeyPressDuration ||
        setting.name == KX::KXInputSetting::LongKeyPressDuration) {
        recordedDurations.take(setting);
        setDurations(options.other.applyTo(recordedDurations));
    } else if (!options.other.replace(setting.name)) {
        Recording::repeatCall(setting, *manager);
    }
}

void Player::apply(const Recording::SpeedTable& table) {
    Recording::repeatCall(table, *manager);
}

void Player::apply(const Recording::KeyMapping& mapping) {
    Recording::repeatCall(mapping, *manager);
}

void Player::apply(const Recording::Keypad& keypad) {
    Recording::repeatCall(keypad, *manager);
    isBusOpen = true;
}

// The worker reads a frame that is waiting on the bus at once, in a pass of its own. So each pass reads at most
// one frame.
void Player::apply(const Recording::Pass& /*pass*/) {
    if (!unreadFrames.empty()) {
        bringFrame(unreadFrames.front());
        unreadFrames.pop_front();
    }
    KXSimulation::endWaits();
    if (window)
        window->dropKeys();
}

void Player::apply(const Recording::End& /*end*/) {}

// The order in which the manager accepts both: the double press must always be the shorter one. A session may go
// through pairs before its first input that are not allowed with the other settings.
void Player::setDurations(const Durations& wanted) {
    if (!wanted.areAllowed())
        return;
    if (wanted.doublePressMs < durations.longPressMs) {
        manager->setDoubleKeyPressDuration(wanted.doublePressMs);
        manager->setLongKeyPressDuration(wanted.longPressMs);
    } else {
        manager->setLongKeyPressDuration(wanted.longPressMs);
        manager->setDoubleKeyPressDuration(wanted.doublePressMs);
    }
    durations = wanted;
}

void Player::bringFrame(const KX::KXCANMessage& frame) {
    KXSimulation::scheduleCANFrame(keypadsBus, KX::KXTick::getTickCount(), frame);
}

void Player::deliverKeys() {
    for (KX::KXToolkitEvent& key : window->takeKeys(KX::KXTick::getTickCount()))
        manager->toolkitEventOccurred(key);
}

void Player::handOut(std::size_t entry, const Take& take) {
    while (manager->hasEvents())
        take({manager->getNextEvent(), entry, session.entries[entry].line, durations});
    for (const KXSimulation::DebugMessage& message : KXSimulation::takeDebugMessages())
        std::cerr << message.section << ": " << message.text << std::endl;
}

} // namespace Replay
