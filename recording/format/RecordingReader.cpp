#include "recording/KXRecordingReader.h"

#include "recording/format/CANLog.h"
#include "recording/format/LineReader.h"
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

} // namespace

class Reader::Lines {
public:
    Lines(std::istream& inputStream, std::string fileName, Warn warnFunction)
        : input(inputStream), name(std::move(fileName)),
          warn(warnFunction ? std::move(warnFunction) : [](const std::string& /*warning*/) {}), text(inputStream) {
    }

    Entry* next() {
        hasEntry = false;
        try {
            while (!hasEntry && readLine())
                takeLine();
        } catch (const std::runtime_error& error) {
            throw BadFile(name + ":" + std::to_string(lineNumber) + ": " + error.what());
        }
        if (hasEntry)
            return &entry;
        if (input.bad())
            throw BadFile(name + ": " + Text::whyUnreadable());
        tellWhatIsUnknown();
        return nullptr;
    }

    bool isPlainLog = false;

private:
    bool readLine() {
        ++lineNumber;
        return text.next(line);
    }

    void takeLine() {
        if (lineNumber == 1 && line.compare(0, byteOrderMark.size(), byteOrderMark) == 0)
            line.remove_prefix(byteOrderMark.size());
        if (CanBus::isCANLogComment(line))
            return;
        if (std::exchange(isFirst, false) && (isCutFirstLine() || takeVersion()))
            return;
        if (isPlainLog)
            takeLogLine();
        else
            takeRecordingLine();
    }

    // Whether a crash left only a part of the first line. It has no other content.
    bool isCutFirstLine() const {
        const std::string begin = std::string(formatWord) + " ";
        const bool isCut =
            !text.hasLineEnd() && (begin.compare(0, line.size(), line) == 0 || line.find(begin) == 0);
        if (isCut)
            tellOfCut();
        return isCut;
    }

    // Returns whether the line is the first one of a recording.
    bool takeVersion() {
        std::string_view words = line;
        if (Text::takeWord(words) != formatWord) {
            isPlainLog = true;
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
            if (previousMs || Text::trimmed(line).front() == '(')
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
        if (!text.hasLineEnd()) {
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
        entry.timeMs = timeMs;
        entry.input = Frame{frame.bus, frame.frame};
        noteEntry();
    }

    void takeOwnLine() {
        std::string unknown;
        const bool isKnown = parse(line, previousMs, keyTable.toolkitKeys(), entry, unknown);
        if (!unknown.empty() && unknownCount++ == 0)
            firstUnknown = ":" + std::to_string(lineNumber) + ": " + unknown + " is not known";
        if (!isKnown)
            return;
        noteEntry();
        hasEnded = std::holds_alternative<End>(entry.input);
        if (const auto* const mapping = std::get_if<KeyMapping>(&entry.input))
            keyTable.add(*mapping);
    }

    void noteEntry() {
        previousMs = entry.timeMs;
        entry.line = lineNumber;
        hasEntry = true;
    }

    void tellWhatIsUnknown() {
        if (unknownCount == 0)
            return;
        const std::string times = unknownCount == 1 ? "" : " (the first of " + std::to_string(unknownCount) + ")";
        unknownCount = 0;
        warn(name + firstUnknown + times + "; what a newer version has added is left out");
    }

    std::istream& input;
    const std::string name;
    const Warn warn;

    Text::LineReader text;
    std::string_view line;
    std::size_t lineNumber = 0;
    Entry entry;
    bool hasEntry = false; // from this call
    bool isFirst = true;
    bool hasEnded = false;
    std::optional<std::uint64_t> previousMs;
    std::optional<std::chrono::microseconds> logStart;
    ToldKeys keyTable;
    std::string firstUnknown;
    std::size_t unknownCount = 0;
};

Reader::Reader(std::istream& input, std::string name, Warn warn)
    : lines(std::make_unique<Lines>(input, std::move(name), std::move(warn))) {}

Reader::~Reader() = default;

Entry* Reader::next() {
    return lines->next();
}

bool Reader::isPlainLog() const {
    return lines->isPlainLog;
}

Session read(std::istream& input, const std::string& name, const Warn& warn) {
    Reader reader(input, name, warn);
    Session session;
    while (Entry* const entry = reader.next()) {
        session.hasPasses = session.hasPasses || std::holds_alternative<Pass>(entry->input);
        session.entries.push_back(std::move(*entry));
    }
    session.isPlainLog = reader.isPlainLog();
    return session;
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
