#include "recording/format/RecordingFormat.h"

#include "recording/KXKeyLayout.h"
#include "recording/KXSettingTable.h"
#include "recording/format/CANLog.h"
#include "recording/format/RecordingFields.h"
#include "recording/format/Text.h"

namespace KX::Recording {

namespace {

std::string formatFrame(const Frame& frame, std::uint64_t timeMs) {
    CanBus::CANLogLine line;
    line.time = std::chrono::milliseconds(timeMs);
    line.bus = frame.bus;
    line.frame = frame.message;
    return CanBus::formatCANLogLine(line);
}

// Appends the part of the line after the tick.
struct Formatter {
    unsigned int tick;
    std::string& text;

    void operator()(const KXToolkitEvent& event) const {
        text += "toolkit ";
        formatEvent(event, tick, text);
    }
    void operator()(const KXInputEvent& event) const {
        text += "input ";
        formatEvent(event, tick, text);
    }
    void operator()(const Post& post) const {
        text += "post ";
        formatEvent(post.event, tick, text);
    }
    void operator()(const NumberSetting& setting) const {
        const KXSettingRow& row = settingRow(setting.name);
        text += "set " + std::string(row.word) + " ";
        if (row.isSwitch())
            text += setting.value != 0 ? "on" : "off";
        else
            text += std::to_string(setting.value);
    }
    void operator()(const SpeedTable& table) const {
        text += "set speed-table";
        for (const KXEncoderDynamicPair& row : table.rows)
            text += " " + std::to_string(row.timeGap) + ":" + std::to_string(row.increment);
    }
    void operator()(const KeyMapping& mapping) const {
        text += "set key-mapping";
        for (const auto& [toolkitKey, keyCode] : mapping.keyCodeOfToolkitKey)
            text +=
                " 0x" + Text::hexadecimal(static_cast<unsigned int>(toolkitKey)) + "=" + std::to_string(keyCode);
    }
    void operator()(const Keypad& keypad) const {
        // One call is one line, so a crash cannot leave half a keypad.
        std::string entries = KeyLayout::write(*keypad.layout);
        if (!entries.empty())
            entries.pop_back(); // the line end of the last entry
        for (std::size_t end = entries.find('\n'); end != std::string::npos; end = entries.find('\n', end))
            entries.replace(end, 1, "; ");
        text += entries.empty() ? "set keypad" : "set keypad " + entries;
    }
    void operator()(const Pass& /*pass*/) const { text += "pass"; }
    void operator()(const End& /*end*/) const { text += "end"; }
    void operator()(const Frame& /*frame*/) const {} // frames have no tick at their beginning
};

} // namespace

std::string_view firstLine() {
    constexpr std::string_view line = "kxrecording 2";
    static_assert(line.substr(0, line.size() - 2) == formatWord && line.back() == '0' + newestVersion);
    return line;
}

void format(const Entry& entry, std::string& text) {
    if (const Frame* const frame = std::get_if<Frame>(&entry.input)) {
        text += formatFrame(*frame, entry.timeMs);
        return;
    }
    text += std::to_string(entry.tick());
    text += ' ';
    std::visit(Formatter{entry.tick(), text}, entry.input);
}

std::string format(const Entry& entry) {
    std::string text;
    format(entry, text);
    return text;
}

} // namespace KX::Recording
