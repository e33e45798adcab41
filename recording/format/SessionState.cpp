#include "recording/format/SessionState.h"

#include "events/KXKeyCode.h"
#include "recording/KXCANIdentifier.h"
#include "recording/KXSettingTable.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace KX::Recording {

namespace {

constexpr std::int64_t defaultDoublePressMs = settingRow(KXInputSetting::DoubleKeyPressDuration).defaultValue;
constexpr std::int64_t defaultLongPressMs = settingRow(KXInputSetting::LongKeyPressDuration).defaultValue;

bool timeGapsRise(const SpeedTable& table) {
    const auto isNotLess = [](const KXEncoderDynamicPair& one, const KXEncoderDynamicPair& next) {
        return one.timeGap >= next.timeGap;
    };
    return std::adjacent_find(table.rows.begin(), table.rows.end(), isNotLess) == table.rows.end();
}

bool isOfEveryManager(int keyCode) {
    return keyCode >= KX_KEY_ESCAPE && keyCode <= KX_KEY_END;
}

} // namespace

unsigned int restartGapOf(const SpeedTable& table) {
    constexpr unsigned int gapWithoutTableMs = 500;
    return table.rows.size() < 2 ? gapWithoutTableMs : 2 * table.rows.back().timeGap;
}

bool isForeign(const Frame& frame, const CANRemoteOptions& layout) {
    const std::uint32_t identifier = frame.message.canId & CanBus::extendedIdentifierBits;
    return identifier != layout.encoderCANId &&
           std::none_of(std::begin(layout.keys), std::end(layout.keys),
                        [identifier](const KeyOptionsCANRemote& key) {
                            return static_cast<std::uint32_t>(key.canId) == identifier;
                        });
}

// Every manager has the codes up to End. Their keys here are placeholders.
ToldKeys::ToldKeys() {
    for (int keyCode = KX_KEY_ESCAPE; keyCode <= KX_KEY_END; ++keyCode)
        keyOfCode[keyCode] = keyCode;
}

void ToldKeys::add(const KeyMapping& mapping) {
    for (const auto& [toolkitKey, keyCode] : mapping.keyCodeOfToolkitKey) {
        present.keyCodeOfToolkitKey[toolkitKey] = keyCode;
        keyOfCode[keyCode] = toolkitKey;
    }
}

std::vector<KeyMapping> ToldKeys::mappings() const {
    std::vector<KeyMapping> found;
    for (const auto& [keyCode, toolkitKey] : keyOfCode) {
        const auto key = present.keyCodeOfToolkitKey.find(toolkitKey);
        if (!isOfEveryManager(keyCode) && key != present.keyCodeOfToolkitKey.end() && key->second != keyCode)
            found.push_back({{{toolkitKey, keyCode}}});
    }
    if (!present.keyCodeOfToolkitKey.empty())
        found.push_back(present);
    return found;
}

void SessionState::apply(const Input& input) {
    if (const auto* const number = std::get_if<NumberSetting>(&input)) {
        apply(*number);
    } else if (const auto* const newTable = std::get_if<SpeedTable>(&input)) {
        const bool isAccepted = timeGapsRise(*newTable);
        (isAccepted ? table : refusedTable) = *newTable;
        if (isAccepted)
            refusedTable.reset();
    } else if (const auto* const mapping = std::get_if<KeyMapping>(&input)) {
        keys.add(*mapping);
    } else if (const auto* const newKeypad = std::get_if<Keypad>(&input)) {
        keypad = *newKeypad;
    } else if (const auto* const frame = std::get_if<Frame>(&input)) {
        if (keypad && !isForeign(*frame, *keypad->layout))
            lastFrames[frame->message.canId] = *frame;
    }
}

void SessionState::apply(const NumberSetting& setting) {
    const std::int64_t value = setting.value;
    switch (setting.name) {
    case KXInputSetting::DoubleKeyPressDuration:
        if (value < longPressMs.value_or(defaultLongPressMs))
            doublePressMs = value;
        break;
    case KXInputSetting::LongKeyPressDuration:
        if (value > doublePressMs.value_or(defaultDoublePressMs))
            longPressMs = value;
        break;
    case KXInputSetting::EncoderUserFactor:
    case KXInputSetting::EncoderLowPassFactor:
        if (settingRow(setting.name).range.contains(value))
            factors[setting.name] = value;
        break;
    case KXInputSetting::AcceptInput: factors[setting.name] = value; break;
    case KXInputSetting::KeyboardLayout: break; // no event depends on it
    }
}

std::vector<Input> SessionState::asInputs() const {
    std::vector<Input> inputs;
    const bool longIsFirst = doublePressMs.value_or(defaultDoublePressMs) >= defaultLongPressMs;
    if (longPressMs && longIsFirst)
        inputs.emplace_back(NumberSetting{KXInputSetting::LongKeyPressDuration, *longPressMs});
    if (doublePressMs)
        inputs.emplace_back(NumberSetting{KXInputSetting::DoubleKeyPressDuration, *doublePressMs});
    if (longPressMs && !longIsFirst)
        inputs.emplace_back(NumberSetting{KXInputSetting::LongKeyPressDuration, *longPressMs});
    for (const auto& [name, value] : factors)
        inputs.emplace_back(NumberSetting{name, value});
    if (table)
        inputs.emplace_back(*table);
    if (refusedTable)
        inputs.emplace_back(*refusedTable);
    for (KeyMapping& mapping : keys.mappings())
        inputs.emplace_back(std::move(mapping));
    if (keypad)
        inputs.emplace_back(*keypad);
    for (const auto& [identifier, frame] : lastFrames) {
        inputs.emplace_back(frame);
        inputs.emplace_back(Pass());
    }
    return inputs;
}

} // namespace KX::Recording
