#pragma once

#include "recording/KXRecording.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <tuple>
#include <variant>
#include <vector>

/// Compares entries of recordings field by field, independent of their text.
namespace KX::Recording::test {

template<typename Value, std::size_t size>
bool isSame(const Value (&left)[size], const Value (&right)[size]) {
    return std::equal(std::begin(left), std::end(left), std::begin(right));
}

inline bool isSame(const KXInputEvent& left, const KXInputEvent& right) {
    const auto numbers = [](const KXInputEvent& event) {
        return std::make_tuple(event.eventClass, event.eventType, event.timeStamp, event.value, event.count,
                               event.keyCode, event.osKeyCode, event.inputValue, event.incidentFlag);
    };
    return numbers(left) == numbers(right) && isSame(left.eventData, right.eventData) &&
           isSame(left.inputData, right.inputData);
}

inline bool isSame(const KXToolkitEvent& left, const KXToolkitEvent& right) {
    const KXInputEvent& input = left;
    return isSame(input, static_cast<const KXInputEvent&>(right)) && left.toolkitFlag == right.toolkitFlag;
}

inline bool isSame(const Post& left, const Post& right) {
    const KXInputEvent& input = left.event;
    return isSame(input, static_cast<const KXInputEvent&>(right.event)) &&
           isSame(left.event.signalData, right.event.signalData) &&
           left.event.sourceClass == right.event.sourceClass;
}

inline bool isSame(const Frame& left, const Frame& right) {
    return left.bus == right.bus && left.message.canId == right.message.canId &&
           left.message.canLength == right.message.canLength && left.message.canAux == right.message.canAux &&
           isSame(left.message.canData, right.message.canData);
}

inline bool isSame(const NumberSetting& left, const NumberSetting& right) {
    return left.name == right.name && left.value == right.value;
}

inline bool isSame(const SpeedTable& left, const SpeedTable& right) {
    return std::equal(
        left.rows.begin(), left.rows.end(), right.rows.begin(), right.rows.end(),
        [](const KX::KXEncoderDynamicPair& one, const KX::KXEncoderDynamicPair& other) {
            return one.timeGap == other.timeGap && one.increment == other.increment;
        });
}

inline bool isSame(const KeyMapping& left, const KeyMapping& right) {
    return left.keyCodeOfToolkitKey == right.keyCodeOfToolkitKey;
}

inline bool isSame(const Keypad& left, const Keypad& right) {
    const auto numbers = [](const KX::CANRemoteOptions& layout) {
        return std::make_tuple(layout.enabled, layout.encoderUpKeyCode, layout.encoderDownKeyCode,
                               layout.encoderCANId, layout.encoderByteIndex, layout.endPointSetting,
                               layout.encoderMask, layout.encoderLittleEndian, layout.keyIndex.size());
    };
    const auto isSameKey = [](const KX::KeyOptionsCANRemote& one, const KX::KeyOptionsCANRemote& other) {
        return std::tie(one.keyNumber, one.keyCode, one.byteIndex, one.bitIndex, one.canId, one.pressed) ==
               std::tie(other.keyNumber, other.keyCode, other.byteIndex, other.bitIndex, other.canId,
                        other.pressed);
    };
    return numbers(*left.layout) == numbers(*right.layout) &&
           std::equal(std::begin(left.layout->keys), std::end(left.layout->keys), std::begin(right.layout->keys),
                      isSameKey);
}

inline bool isSame(const Pass& /*left*/, const Pass& /*right*/) {
    return true;
}

inline bool isSame(const End& /*left*/, const End& /*right*/) {
    return true;
}

/// Equal in time and input; the lines may differ.
inline bool isSame(const Entry& left, const Entry& right) {
    return left.timeMs == right.timeMs && left.input.index() == right.input.index() &&
           std::visit(
               [&right](const auto& input) {
                   return isSame(input, std::get<std::decay_t<decltype(input)>>(right.input));
               },
               left.input);
}

/// Index of the first entry that differs, or the number of entries if none does.
inline std::size_t firstDifference(const std::vector<Entry>& left, const std::vector<Entry>& right) {
    const auto [inLeft, inRight] =
        std::mismatch(left.begin(), left.end(), right.begin(), right.end(),
                      [](const Entry& one, const Entry& other) { return isSame(one, other); });
    const bool areSame = inLeft == left.end() && inRight == right.end();
    return areSame ? left.size() : static_cast<std::size_t>(inLeft - left.begin());
}

} // namespace KX::Recording::test
