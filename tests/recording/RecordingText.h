#pragma once

#include "recording/KXRecording.h"
#include "recording/format/RecordingFormat.h"

#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace KX::Recording::test {

/// The result of reading a text.
struct Outcome {
    Session session;
    std::vector<std::string> warnings;
    std::string error; ///< why the file cannot be used
};

inline Outcome outcomeOf(const std::string& text) {
    Outcome outcome;
    std::istringstream input(text);
    const auto warn = [&outcome](const std::string& warning) { outcome.warnings.push_back(warning); };
    try {
        outcome.session = read(input, "day.kxr", warn);
    } catch (const BadFile& error) {
        outcome.error = error.what();
    }
    return outcome;
}

/// The outcome of these lines after the first line of a recording.
inline Outcome outcomeOfLines(const std::string& lines) {
    return outcomeOf(std::string(firstLine()) + "\n" + lines);
}

/// Why a recording with only this line, the second of the file, cannot be used.
inline std::string errorOfLine(const std::string& line) {
    const Outcome outcome = outcomeOfLines(line + "\n");
    return outcome.error.empty() ? "it was accepted" : outcome.error;
}

/// The only entry of a recording with one line.
inline Entry entryOf(const std::string& line) {
    Outcome outcome = outcomeOfLines(line + "\n");
    if (!outcome.error.empty() || !outcome.warnings.empty() || outcome.session.entries.size() != 1)
        throw std::logic_error("not one entry: " + line + "; " + outcome.error);
    return outcome.session.entries.front();
}

inline std::string rewritten(const std::string& line) {
    return format(entryOf(line));
}

/// A session with every kind of line, across the wrap of the tick.
inline std::string dayOfAnOperator() {
    return "kxrecording 1\n"
           "# written by hand\n"
           "4294960000 set double-press 300\n"
           "4294960000 set long-press 2000\n"
           "4294960000 set user-factor 1000\n"
           "4294960000 set low-pass 900\n"
           "4294960000 set accept-input on\n"
           "4294960000 set speed-table 2:4096 8:1024 100:1\n"
           "4294960000 set key-mapping 0x1000030=7 0x1000031=8\n"
           "4294960000 set keypad key 1 code 0 byte 0 bit 0 id 18FF0001; key 2 code 8 byte 0 bit 7 id 18FF0001; "
           "encoder id 18FF0003 byte 2 little mask FFFF up 4 down 5\n"
           "4294960100 pass\n"
           "\n"
           "4294967295 toolkit TOOLKIT_KEY_PRESS_EVENT os=0x1000000\n"
           "(0004294967.296000) can0 18FF0001#0100000000000000\n"
           "0 pass\n"
           "5 toolkit TOOLKIT_KEY_RELEASE_EVENT time=4294967290 os=0x1000000 data=1,2,3,4\n"
           "700 toolkit 4711 count=3 input-value=-5 incident-flag=1\n"
           "900 end\n";
}

} // namespace KX::Recording::test
