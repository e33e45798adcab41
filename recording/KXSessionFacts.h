#pragma once

#include "platform/KXExport.h"
#include "recording/KXRecording.h"

#include <cstddef>
#include <cstdint>
#include <optional>

namespace KX::Recording {

/// What a player must know of a session before it plays it. Add all entries in order, then the session can be played
/// entry by entry. One thread at a time; nothing blocks.
struct KX_RECORDING_API SessionFacts {
    bool isPlainLog = false; ///< only the log of a CAN bus
    bool hasPasses = false;  ///< the session has the passes of the worker thread

    std::size_t entries = 0;       ///< number of all entries
    std::size_t toolkitEvents = 0; ///< of these, events of the toolkit
    std::size_t frames = 0;        ///< of these, frames of a CAN bus
    std::size_t passes = 0;        ///< of these, passes of the worker thread

    std::uint64_t firstMs = 0; ///< of the first entry; 0 without one
    std::uint64_t lastMs = 0;  ///< of the last entry
    /// Of the last toolkit event, input event or frame; without one of the first entry.
    std::uint64_t lastInputMs = 0;

    std::int64_t greatestLongPressMs = 0; ///< of all settings; 0 without one

    // The first settings before the operator does anything.

    std::optional<std::int64_t> doublePressAtHeadMs; ///< the limit of a double press
    std::optional<std::int64_t> longPressAtHeadMs;   ///< the limit of a long press

    SessionFacts() = default;
    /// Of a whole session, which is not needed afterwards.
    explicit SessionFacts(const Session& session);

    /// Adds the next entry.
    void add(const Entry& entry);

private:
    KX_LOCAL void add(const NumberSetting& setting);

    bool isHeadOver = false;
};

} // namespace KX::Recording
