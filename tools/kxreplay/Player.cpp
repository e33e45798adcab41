#include "tools/kxreplay/Player.h"

#include "input/KXInputEventManager.h"
#include "platform/simulated/KXSimulation.h"
#include "recording/KXRecordedCalls.h"
#include "recording/KXSettingTable.h"

#include <algorithm>
#include <iostream>
#include <utility>

namespace Replay {

Player::Player(std::shared_ptr<const KX::Recording::Session> session, Options playerOptions)
    : Player(playableOf(std::move(session)), std::move(playerOptions)) {}

Player::Player(Playable played, Options playerOptions)
    : playable(std::move(played)), options(std::move(playerOptions)) {}

void Player::play(const Take& take, const EntryDone& entryDone) {
    KX::Recording::SessionFacts facts = playable.facts;
    const auto longPress = options.other.values.find(KX::KXInputSetting::LongKeyPressDuration);
    if (longPress != options.other.values.end())
        facts.greatestLongPressMs = std::max(facts.greatestLongPressMs, longPress->second);
    KX::KXSessionPlayer player(facts, playable.open(),
                               {options.keypad,
                                [this](const KX::Recording::NumberSetting& setting) { apply(setting); }, true,
                                options.beforeFrames});
    recordedDurations = durations = Durations();
    applyOtherSettings();
    std::size_t done = 0;
    while (player.step()) {
        handOut(player, take);
        for (; done < player.entry(); ++done)
            entryDone();
    }
    for (; done < facts.entries; ++done)
        entryDone();
}

void Player::applyOtherSettings() {
    setDurations(options.other.applyTo(recordedDurations));
    for (const auto& [name, value] : options.other.values)
        if (!KX::settingRow(name).isDuration())
            KX::Recording::repeatCall(KX::Recording::NumberSetting{name, value},
                                      *KX::KXInputEventManager::getInstance());
}

void Player::apply(const KX::Recording::NumberSetting& setting) {
    if (KX::settingRow(setting.name).isDuration()) {
        recordedDurations.take(setting);
        setDurations(options.other.applyTo(recordedDurations));
    } else if (!options.other.replace(setting.name)) {
        KX::Recording::repeatCall(setting, *KX::KXInputEventManager::getInstance());
    }
}

// The order in which the manager accepts both: the double press must always be the shorter one. A session may go
// through pairs before its first input that are not allowed with the other settings.
void Player::setDurations(const Durations& wanted) {
    if (!wanted.areAllowed())
        return;
    KX::KXInputEventManager& manager = *KX::KXInputEventManager::getInstance();
    if (wanted.doublePressMs < durations.longPressMs) {
        manager.setDoubleKeyPressDuration(wanted.doublePressMs);
        manager.setLongKeyPressDuration(wanted.longPressMs);
    } else {
        manager.setLongKeyPressDuration(wanted.longPressMs);
        manager.setDoubleKeyPressDuration(wanted.doublePressMs);
    }
    durations = wanted;
}

void Player::handOut(const KX::KXSessionPlayer& player, const Take& take) const {
    KX::KXInputEventManager& manager = *KX::KXInputEventManager::getInstance();
    while (manager.hasEvents())
        take({manager.getNextEvent(), player.entry(), player.line(), durations});
    for (const KX::KXSimulation::DebugMessage& message : KX::KXSimulation::takeDebugMessages())
        std::cerr << message.section << ": " << message.text << std::endl;
}

} // namespace Replay
