#include "tools/canbus/CANLog.h"
#include "tools/keylayout/KeyLayout.h"
#include "tools/recording/Recording.h"
#include "tools/recording/RecordingFields.h"
#include "tools/recording/RecordingWords.h"
#include "tools/text/Text.h"

namespace Recording {

namespace {

std::string formatFrame(const Frame& frame, std::uint64_t timeMs) {
    CanBus::CANLogLine line;
    line.time = std::chrono::milliseconds(timeMs);
    line.bus = frame.bus;
    line.frame = frame.message;
    return CanBus::formatCANLogLine(line);
}

// The part of the line after the tick.
struct Formatter {
    unsigned int tick;

    std::string operator()(const KX::KXToolkitEvent& event) const {
        return "toolkit " + formatToolkitEvent(event, tick);
    }
    std::string operator()(const NumberSetting& setting) const {
        const std::string text = "set " + std::string(wordOf(setting.name)) + " ";
        if (setting.name == KX::KXInputSetting::AcceptInput)
            return text + (setting.value != 0 ? "on" : "off");
        return text + std::to_string(setting.value);
    }
    std::string operator()(const SpeedTable& table) const {
        std::string text = "set speed-table";
        for (const KX::KXEncoderDynamicPair& row : table.rows)
            text += " " + std::to_string(row.timeGap) + ":" + std::to_string(row.increment);
        return text;
    }
    std::string operator()(const KeyMapping& mapping) const {
        std::string text = "set key-mapping";
        for (const auto& [toolkitKey, keyCode] : mapping.keyCodeOfToolkitKey)
            text +=
                " 0x" + Text::hexadecimal(static_cast<unsigned int>(toolkitKey)) + "=" + std::to_string(keyCode);
        return text;
    }
    std::string operator()(const Keypad& keypad) const {
        // One call is one line, so a crash cannot leave half a keypad.
        std::string text = KeyLayout::write(*keypad.layout);
        if (text.empty())
            return "set keypad";
        text.pop_back(); // the line end of the last entry
        for (std::size_t end = text.find('\n'); end != std::string::npos; end = text.find('\n', end))
            text.replace(end, 1, "; ");
        return "set keypad " + text;
    }
    std::string operator()(const Pass& /*pass*/) const { return "pass"; }
    std::string operator()(const End& /*end*/) const { return "end"; }
    std::string operator()(const Frame& /*frame*/) const {
        return {}; // frames have no tick at their beginning
    }
};

} // namespace

std::string_view firstLine() {
    return "kxrecording 1";
}

std::string format(const Entry& entry) {
    if (const Frame* const frame = std::get_if<Frame>(&entry.input))
        return formatFrame(*frame, entry.timeMs);
    return std::to_string(entry.tick()) + " " + std::visit(Formatter{entry.tick()}, entry.input);
}

} // namespace Recording
