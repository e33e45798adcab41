#pragma once

#include "recording/KXRecording.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace KX::Recording {

/// After a longer step than this, an encoder with this table restarts, unless it has refused another table since.
unsigned int restartGapOf(const SpeedTable& table);

/// Whether a keypad of this layout ignores the frame.
bool isForeign(const Frame& frame, const CANRemoteOptions& layout);

/// The keys of which a recording tells. Who replays it knows no others, whatever the table of this process holds.
class ToldKeys {
public:
    ToldKeys();

    void add(const KeyMapping& mapping);

    /// From key codes to the toolkit's keys, as KXInputEventManager::getKXtoOSCodeMap would have them.
    const std::map<int, int>& toolkitKeys() const { return keyOfCode; }

    /// The mappings for a head. Those come first whose key has another code meanwhile: the keypad may still use theirs.
    std::vector<KeyMapping> mappings() const;

private:
    KeyMapping present;
    std::map<int, int> keyOfCode;
};

/// The settings of a session at one moment, and the last frames of the keypad. They stand at the head of a recording
/// that begins in mid-session.
class SessionState {
public:
    /// Takes over a setting as the library does, which refuses some, and a frame. Other input changes nothing.
    void apply(const Input& input);

    /// Calls and frames that bring a new manager into this state, in an order that it accepts. A pass of the worker
    /// follows each frame, which reads it.
    std::vector<Input> asInputs() const;

    const ToldKeys& toldKeys() const { return keys; }

private:
    void apply(const NumberSetting& setting);

    // Nothing was told yet: the library's default holds.
    std::optional<std::int64_t> doublePressMs;
    std::optional<std::int64_t> longPressMs;
    std::map<KXInputSetting, std::int64_t> factors;
    std::optional<SpeedTable> table;
    std::optional<SpeedTable> refusedTable; // changes when the encoder restarts
    ToldKeys keys;
    std::optional<Keypad> keypad;
    std::map<std::uint32_t, Frame> lastFrames; // of the keypad, by identifier
};

} // namespace KX::Recording
