#pragma once

#include "input/CANRemoteOptions.h"
#include "platform/KXExport.h"

#include <istream>
#include <map>
#include <optional>
#include <string>

/// Layouts of a keypad on the CAN bus. Programs read and check them here, because
/// KXInputEventManager::setCANRemoteOptions accepts anything.
///
/// An entry without a key has \c keyNumber 0. A layout without an encoder has an \c encoderCANId that no frame
/// has. These functions have no state; any thread may call them. They block
/// only while a file or a stream is read.
namespace KX::KeyLayout {

/// From key codes to the toolkit's keys, as KXInputEventManager::getKXtoOSCodeMap returns them.
using ToolkitKeys = std::map<int, int>;

constexpr int keyCount = 16;           ///< entries of a layout
constexpr int encoderEntry = keyCount; ///< stands for the encoder where an entry is told by its index

/// A problem in a layout. The entry is an index of \c keys, or \ref encoderEntry.
struct Problem {
    int entry;        ///< that has the problem
    std::string text; ///< one line with the number of the key, or with "encoder"
};

/// An enabled layout without keys and without an encoder.
///
/// The library listens for all 16 entries, even for unused ones. An entry of zeros would mean that bit 0 of the
/// frame with identifier 0 is Escape. So unused entries wait for identifier -1, which no frame has. Their key code
/// is that of Escape, which every manager knows.
KX_RECORDING_API CANRemoteOptions empty();

/// The layout of the keypad that kxterminal draws: keys 1 to 16 with the key codes 0 to 15 in two frames, and the
/// encoder in a third frame. Its function keys need a manager that knows functionKeys(): a key without a toolkit key
/// crashes Qt.
KX_RECORDING_API CANRemoteOptions builtIn();

/// Whether the entry has a key.
KX_RECORDING_API bool isUsed(const KeyOptionsCANRemote& key);
/// Whether the layout has an encoder.
KX_RECORDING_API bool hasEncoder(const CANRemoteOptions& layout);

/// The first problem that would make the keypad misbehave or crash the program; nothing if there is none.
KX_RECORDING_API std::optional<Problem> check(const CANRemoteOptions& layout, const ToolkitKeys& toolkitKeys);

/// Reads a layout and checks it. It has one key per line in any order, at most one encoder, and comments after #:
///
///     key 1 code 0 byte 0 bit 0 id 18FF0001
///     encoder id 18FF0002 byte 0 little mask FFFF up 4 down 5
///
/// Identifiers and the mask are hexadecimal. The pairs after the key number may have any order. Optional are the
/// encoder's mask (FFFF), its key codes (4 and 5) and its byte order (little or big; little by default).
/// \param name  of the file, for messages
/// \throws std::runtime_error  "name:line: problem", in one line
KX_RECORDING_API CANRemoteOptions read(std::istream& input, const std::string& name,
                                       const ToolkitKeys& toolkitKeys);

/// \ref read from the file at \p path.
/// \throws std::runtime_error  also "path: reason" when the file cannot be read
KX_RECORDING_API CANRemoteOptions readFile(const std::string& path, const ToolkitKeys& toolkitKeys);

/// A layout as text: one complete entry per line. \ref read gives the same layout again.
KX_RECORDING_API std::string write(const CANRemoteOptions& layout);

} // namespace KX::KeyLayout
