#pragma once

#include "input/CANRemoteOptions.h"

#include <istream>
#include <map>
#include <optional>
#include <string>

/// Layouts of a keypad on the CAN bus, as programs get and check them before they hand them to
/// KXInputEventManager::setCANRemoteOptions, which takes anything.
///
/// An entry that stands for no key has \c keyNumber 0, and a layout without an encoder has an \c encoderCANId that
/// no frame has. These functions are for any thread and keep nothing.
namespace KeyLayout {

/// From the library's key codes to the toolkit's, as KXInputEventManager::getKXtoOSCodeMap has it.
using ToolkitKeys = std::map<int, int>;

constexpr int keyCount = 16;
constexpr int encoderEntry = keyCount;

/// What is wrong with a layout, and with which entry: an index of \c keys, or \ref encoderEntry.
struct Problem {
    int entry;
    std::string text; ///< one line that names the key by its number, or the encoder
};

/// A layout without keys and without an encoder, enabled.
///
/// The library listens for all 16 entries whether they stand for a key or not, and zeros would mean: bit 0 of the
/// frame with identifier 0 is Escape. So an entry that stands for no key waits for identifier -1: frames have 29
/// bits, and none matches. Its key code is Escape's all the same, which every manager knows.
KX::CANRemoteOptions empty();

/// The layout of the keypad that kxterminal draws: keys 1 to 16 with key codes 0 to 15, in two frames, and the
/// encoder in a third.
KX::CANRemoteOptions builtIn();

bool isUsed(const KX::KeyOptionsCANRemote& key);
bool hasEncoder(const KX::CANRemoteOptions& layout);

/// The first thing that would make the keypad misbehave or take the program down; nothing if there is none.
std::optional<Problem> check(const KX::CANRemoteOptions& layout, const ToolkitKeys& toolkitKeys);

/// Reads a layout and checks it. One key a line, in any order, at most one encoder, and comments from a # on:
///
///     key 1 code 0 byte 0 bit 0 id 18FF0001
///     encoder id 18FF0002 byte 0 little mask FFFF up 4 down 5
///
/// Identifiers and the mask are hexadecimal. The pairs after the number of the key may stand in any order. The
/// encoder's mask (FFFF), its key codes (4 and 5) and its byte order (little, else big) need not be given.
/// \param name  of the file, for messages
/// \throws std::runtime_error  "name:line: what", in one line
KX::CANRemoteOptions read(std::istream& input, const std::string& name, const ToolkitKeys& toolkitKeys);

/// \ref read from the file at \p path.
/// \throws std::runtime_error  also "path: why" for a file that cannot be read
KX::CANRemoteOptions readFile(const std::string& path, const ToolkitKeys& toolkitKeys);

/// A layout as text, one entry a line, each with all its numbers; \ref read makes the same layout of it.
std::string write(const KX::CANRemoteOptions& layout);

} // namespace KeyLayout
