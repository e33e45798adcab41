#include "tools/kxreplay/Playable.h"

#include "recording/KXRecordingReader.h"

#include <array>
#include <cerrno>
#include <cstdio>
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

// C streams, because std::cin does not tell that reading failed.
std::string readAll(std::FILE* file, const std::string& name) {
    std::string text;
    std::array<char, 16384> block;
    while (const std::size_t count = std::fread(block.data(), 1, block.size(), file))
        text.append(block.data(), count);
    if (std::ferror(file) != 0)
        throw KX::Recording::BadFile(name + ": " + std::strerror(errno));
    return text;
}

std::string readPipe(const std::string& path) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), &std::fclose);
    if (!file)
        throw KX::Recording::BadFile(path + ": " + std::strerror(errno));
    return readAll(file.get(), path);
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
        return keepText(readAll(stdin, "standard input"), "standard input", warn);
    if (isNoRegularFile(path))
        return keepText(readPipe(path), path, warn);
    std::ifstream file = openFile(path);
    Playable playable;
    playable.facts = scan(file, path, warn);
    playable.open = [path, entries = playable.facts.entries] {
        return nextOf(std::make_unique<std::ifstream>(openFile(path)), path, entries);
    };
    return playable;
}

} // namespace Replay
