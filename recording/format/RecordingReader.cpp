#include "recording/KXRecording.h"

#include "recording/format/CANLog.h"
#include "recording/format/RecordingFormat.h"
#include "recording/format/SessionState.h"
#include "recording/format/Text.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <map>
#include <optional>
#include <utility>

namespace KX::Recording {

namespace {

// Flags of frames that the library never gets.
constexpr std::uint32_t errorOrRemoteFlags = CanBus::errorFlag | CanBus::remoteFlag;

// Some editors write this before a text in UTF-8.
constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

class Reader {
public:
    Reader(std::istream& inputStream, const std::string& fileName, const Warn& warnFunction)
        : input(inputStream), name(fileName), warn(warnFunction) {}

    Session read() {
        try {
            while (readLine())
                takeLine();
        } catch (const std::runtime_error& error) {
            throw BadFile(name + ":" + std::to_string(lineNumber) + ": " + error.what());
        }
        if (input.bad())
            throw BadFile(name + ": cannot be read to its end");
        tellWhatIsUnknown();
        return std::move(session);
    }

private:
    bool readLine() {
        ++lineNumber;
        const bool isThere = Text::readLine(input, line);
        hasLineEnd = !input.eof();
        return isThere;
    }

    void takeLine() {
        if (lineNumber == 1 && line.compare(0, byteOrderMark.size(), byteOrderMark) == 0)
            line.erase(0, byteOrderMark.size());
        if (CanBus::isCANLogComment(line))
            return;
        if (std::exchange(isFirst, false) && (isCutFirstLine() || takeVersion()))
            return;
        if (session.isPlainLog)
            takeLogLine();
        else
            takeRecordingLine();
    }

    // Whether a crash left only a part of the first line. It has no other content.
    bool isCutFirstLine() const {
        const std::string begin = std::string(formatWord) + " ";
        const bool isCut = !hasLineEnd && (begin.compare(0, line.size(), line) == 0 || line.find(begin) == 0);
        if (isCut)
            tellOfCut();
        return isCut;
    }

    // Returns whether the line is the first one of a recording.
    bool takeVersion() {
        std::string_view words = line;
        if (Text::takeWord(words) != formatWord) {
            session.isPlainLog = true;
            return false;
        }
        unsigned int version = 0;
        if (!Text::parseNumber(words, 10, version))
            throw std::runtime_error(Text::quoted(words) + " is no version of a recording");
        if (version < oldestVersion || version > newestVersion)
            throw std::runtime_error("a recording of version " + std::to_string(version) + "; versions " +
                                     std::to_string(oldestVersion) + " to " + std::to_string(newestVersion) +
                                     " are known");
        return true;
    }

    void takeLogLine() {
        CanBus::CANLogLine frame;
        try {
            frame = CanBus::parseCANLogLine(line);
        } catch (const std::runtime_error& error) {
            if (!session.entries.empty() || Text::trimmed(line).front() == '(')
                throw;
            throw std::runtime_error(std::string("neither a recording, which begins with '") +
                                     std::string(firstLine()) + "', nor a log of a CAN bus: " + error.what());
        }
        if ((frame.frame.canId & errorOrRemoteFlags) != 0)
            return;
        if (!logStart)
            logStart = frame.time;
        const auto distance = std::chrono::duration_cast<std::chrono::milliseconds>(frame.time - *logStart);
        const auto sinceStart = static_cast<std::uint64_t>(std::max<std::int64_t>(distance.count(), 0));
        addFrame(frame, std::max(previousMs.value_or(0), plainLogStartMs + sinceStart));
    }

    void takeRecordingLine() {
        // A crash or a full disk cut the line. The rest may look complete and mean something else.
        if (!hasLineEnd) {
            tellOfCut();
            return;
        }
        if (hasEnded)
            throw std::runtime_error("a line behind the end of the recording");
        if (Text::trimmed(line).front() == '(')
            takeFrame();
        else
            takeOwnLine();
    }

    void tellOfCut() const {
        warn(name + ":" + std::to_string(lineNumber) + ": the last line is cut off; it is left out");
    }

    void takeFrame() {
        const CanBus::CANLogLine frame = CanBus::parseCANLogLine(line);
        const auto time = std::chrono::duration_cast<std::chrono::milliseconds>(frame.time);
        addFrame(frame, continueTime(static_cast<unsigned int>(time.count()), previousMs));
    }

    void addFrame(const CanBus::CANLogLine& frame, std::uint64_t timeMs) {
        previousMs = timeMs;
        session.entries.push_back({timeMs, Frame{frame.bus, frame.frame}, lineNumber});
    }

    void takeOwnLine() {
        std::string unknown;
        std::optional<Entry> entry = parse(line, previousMs, keyTable.toolkitKeys(), unknown);
        if (!unknown.empty() && unknownCount++ == 0)
            firstUnknown = ":" + std::to_string(lineNumber) + ": " + unknown + " is not known";
        if (!entry)
            return;
        previousMs = entry->timeMs;
        entry->line = lineNumber;
        note(entry->input);
        session.entries.push_back(std::move(*entry));
    }

    void note(const Input& what) {
        session.hasPasses = session.hasPasses || std::holds_alternative<Pass>(what);
        hasEnded = std::holds_alternative<End>(what);
        if (const auto* const mapping = std::get_if<KeyMapping>(&what))
            keyTable.add(*mapping);
    }

    void tellWhatIsUnknown() const {
        if (unknownCount == 0)
            return;
        const std::string times = unknownCount == 1 ? "" : " (the first of " + std::to_string(unknownCount) + ")";
        warn(name + firstUnknown + times + "; what a newer version has added is left out");
    }

    std::istream& input;
    const std::string& name;
    const Warn& warn;

    Session session;
    std::string line;
    std::size_t lineNumber = 0;
    bool hasLineEnd = false;
    bool isFirst = true;
    bool hasEnded = false;
    std::optional<std::uint64_t> previousMs;
    std::optional<std::chrono::microseconds> logStart;
    ToldKeys keyTable;
    std::string firstUnknown;
    std::size_t unknownCount = 0;
};

} // namespace

Session read(std::istream& input, const std::string& name, const Warn& warn) {
    return Reader(input, name, warn).read();
}

Session readFile(const std::string& path, const Warn& warn) {
    if (path == "-")
        return read(std::cin, "standard input", warn);
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw BadFile(path + ": " + std::strerror(errno));
    return read(file, path, warn);
}

} // namespace KX::Recording
