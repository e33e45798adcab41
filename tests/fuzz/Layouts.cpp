#include "Targets.h"

#include "recording/KXKeyLayout.h"

#include <sstream>
#include <stdexcept>

namespace Fuzz {

namespace {

// Of a terminal, and some that it does not have.
KX::KeyLayout::ToolkitKeys knownKeys() {
    KX::KeyLayout::ToolkitKeys keys;
    for (int keyCode = 0; keyCode < 20; ++keyCode)
        keys[keyCode] = 0x01000000 + keyCode;
    return keys;
}

KX::CANRemoteOptions read(const std::string& text) {
    std::istringstream input(text);
    return KX::KeyLayout::read(input, "file", knownKeys());
}

} // namespace

std::string problemWithLayout(const std::string& bytes) {
    KX::CANRemoteOptions layout;
    try {
        layout = read(bytes);
    } catch (const std::runtime_error& error) {
        return isPrintable(error.what()) ? "" : "what is said of it cannot be printed";
    }
    const std::string written = KX::KeyLayout::write(layout);
    try {
        return KX::KeyLayout::write(read(written)) == written ? ""
                                                              : "written twice, it is not the same:\n" + written;
    } catch (const std::runtime_error& error) {
        return "written down again: " + std::string(error.what());
    }
}

} // namespace Fuzz
