#include "tools/kxreplay/follow/Follow.h"

#include "recording/KXRecordingReader.h"
#include "tools/arguments/BadInput.h"
#include "tools/kxreplay/follow/GrowingInput.h"

#include <deque>
#include <istream>
#include <optional>
#include <utility>
#include <variant>

namespace Replay {

namespace {

using KX::Recording::Entry;
using KX::Recording::SessionFacts;

// The worker makes a pass about every 100 ms.
constexpr std::uint64_t firstPassWithinMs = 1000;

/// The entries of a recording that grows. Those of the beginning are kept until it is known what the recording is.
class GrowingSession {
public:
    GrowingSession(const std::string& path, const OtherSettings& settings, const KX::Recording::Warn& warn,
                   const std::function<void()>& flush)
        : name(path == "-" ? "standard input" : path), tell(warn), input(path, interrupts, flush), stream(&input),
          reader(stream, name, warn), check(settings, name) {}

    SessionFacts readBeginning() {
        SessionFacts facts;
        while (const Entry* const entry = read()) {
            facts.isPlainLog = reader.isPlainLog();
            facts.add(*entry);
            beginning.push_back(*entry);
            if (facts.isPlainLog || facts.hasPasses || facts.lastMs - facts.firstMs > firstPassWithinMs)
                break;
        }
        isWithoutPasses = !facts.isPlainLog && !facts.hasPasses;
        return facts;
    }

    const Entry* next() {
        if (beginning.empty())
            return read();
        current = std::move(beginning.front());
        beginning.pop_front();
        return &*current;
    }

    // It stops at the line `end`, so the reader does not see the end of the input.
    void warnOfUnknown() { reader.warnOfUnknown(); }

    int caughtSignal() const { return interrupts.found(); }

private:
    const Entry* read() {
        if (hasEnded)
            return nullptr;
        const Entry* const entry = reader.next();
        input.throwFailure();
        hasEnded = !entry || std::holds_alternative<KX::Recording::End>(entry->input);
        if (!entry) {
            check.finish();
            return nullptr;
        }
        check.take(*entry);
        if (std::exchange(isWithoutPasses, isWithoutPasses && !isPass(*entry)) && isPass(*entry))
            tell(name + ":" + std::to_string(entry->line) +
                 ": the first pass comes late; events before it may differ from those of the whole recording");
        return entry;
    }

    static bool isPass(const Entry& entry) { return std::holds_alternative<KX::Recording::Pass>(entry.input); }

    const std::string name;
    const KX::Recording::Warn tell;
    InterruptSignals interrupts;
    GrowingInput input;
    std::istream stream;
    KX::Recording::Reader reader;
    DurationCheck check;
    std::deque<Entry> beginning;
    std::optional<Entry> current;
    bool isWithoutPasses = false;
    bool hasEnded = false;
};

} // namespace

int follow(const std::string& path, const Player::Options& options, const KX::Recording::Warn& warn,
           const Player::Take& take, const std::function<void()>& flush) {
    GrowingSession session(path, options.other, warn, flush);
    int signal = 0;
    try {
        Playable playable;
        playable.facts = session.readBeginning();
        if (playable.facts.entries == 0)
            throw Arguments::BadInput((path == "-" ? "standard input" : path) +
                                      ": there is nothing to play in it");
        playable.open = [&session] { return [&session] { return session.next(); }; };
        Player(playable, options).play(take, [] {});
    } catch (const Interrupted&) {
        flush();
        signal = session.caughtSignal();
    }
    session.warnOfUnknown();
    return signal;
}

} // namespace Replay
