#include "tools/kxreplay/Keypad.h"

#include "recording/KXFunctionKeys.h"
#include "recording/KXKeyLayout.h"
#include "tools/arguments/BadInput.h"

#include <stdexcept>

namespace Replay {

std::shared_ptr<const KX::CANRemoteOptions> readKeypad(const std::string& file) {
    try {
        return std::make_shared<const KX::CANRemoteOptions>(
            KX::KeyLayout::readFile(file, KX::KeyLayout::keyCodesOfTerminal()));
    } catch (const std::runtime_error& error) {
        throw Arguments::BadInput(error.what());
    }
}

} // namespace Replay
