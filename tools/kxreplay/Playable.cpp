#include "tools/kxreplay/Playable.h"

#include "recording/KXRecordingReader.h"
#include "tools/kxreplay/WholeFile.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <istream>
#include <streambuf>
#include <sys/stat.h>
#include <utility>

namespace Replay {

namespace {

using KX::Recording::Entry;
using KX::Recording::Reader;
using KX::Recording::Session;
using KX::Recording::SessionFacts;
using KX::Recording::Warn;

/// Lets a text be read in place.
class TextBuffer : public std::streambuf {
public:
    explicit TextBuffer(const std::string& text) {
        char* const begin = const_cast<char*>(text.data()); // a stream that is only read changes nothing
        setg(begin, begin, begin + text.size());
    }
};

std::ifstream openFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw KX::Recording::BadFile(path + ": " + std::strerror(errno));
    return file;
}

// A pipe or a device can be read only once.
bool isNoRegularFile(const std::string& path) {
    struct stat state {};
    if (stat(path.c_str(), &state) != 0)
        return false;
    if (S_ISDIR(state.st_mode)) // it can be opened, but not be read
        throw KX::Recording::BadFile(path + ": " + std::strerror(EISDIR));
    return !S_ISREG(state.st_mode);
}

SessionFacts scan(std::istream& input, const std::string& name, const Warn& warn) {
    Reader reader(input, name, warn);
    SessionFacts facts;
    while (const Entry* const entry = reader.next())
        facts.add(*entry);
    facts.isPlainLog = reader.isPlainLog();
    return facts;
}

/// One reading of a file that was checked before.
class CheckedReading {
public:
    CheckedReading(std::unique_ptr<std::istream> openedInput, const std::string& name, std::size_t entries)
        : input(std::move(openedInput)), reader(*input, name, [](const std::string&) {}), left(entries) {}

    const Entry* next() {
        if (left == 0)
            return nullptr;
        --left;
        return reader.next();
    }

private:
    const std::unique_ptr<std::istream> input;
    Reader reader;
    std::size_t left; // entries
};

KX::KXSessionPlayer::NextEntry nextOf(std::unique_ptr<std::istream> input, const std::string& name,
                                      std::size_t entries) {
    return
        [reading = std::make_shared<CheckedReading>(std::move(input), name, entries)] { return reading->next(); };
}

/// A stream with its buffer.
class TextStream : private TextBuffer, public std::istream {
public:
    explicit TextStream(std::shared_ptr<const std::string> theText)
        : TextBuffer(*theText), std::istream(static_cast<TextBuffer*>(this)), text(std::move(theText)) {}

private:
    const std::shared_ptr<const std::string> text;
};

Playable keepText(std::string kept, const std::string& name, const Warn& warn) {
    const auto text = std::make_shared<const std::string>(std::move(kept));
    TextStream first(text);
    Playable playable;
    playable.facts = scan(first, name, warn);
    playable.open = [text, name, entries = playable.facts.entries] {
        return nextOf(std::make_unique<TextStream>(text), name, entries);
    };
    return playable;
}

} // namespace

Playable playableOf(std::shared_ptr<const Session> session) {
    Playable playable;
    playable.facts = SessionFacts(*session);
    playable.open = [session = std::move(session)] {
        return [session, next = std::size_t{0}]() mutable -> const Entry* {
            return next < session->entries.size() ? &session->entries[next++] : nullptr;
        };
    };
    return playable;
}

Playable playableOf(const std::string& path, const Warn& warn) {
    if (path == "-")
        return keepText(readWhole(path), "standard input", warn);
    if (isNoRegularFile(path))
        return keepText(readWhole(path), path, warn);
    std::ifstream file = openFile(path);
    Playable playable;
    playable.facts = scan(file, path, warn);
    playable.open = [path, entries = playable.facts.entries] {
        return nextOf(std::make_unique<std::ifstream>(openFile(path)), path, entries);
    };
    return playable;
}

} // namespace Replay
