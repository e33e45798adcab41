#include "Targets.h"

#include "recording/KXEventLine.h"
#include "recording/KXRecording.h"
#include "replay/KXSessionPlayer.h"
#include "replay/LibraryOutput.h"

#include <optional>
#include <sstream>

namespace Fuzz {

namespace {

using KX::Recording::Session;

// A session without passes gets one each 100 ms, so a long one takes long.
constexpr std::uint64_t longestMs = 600000;
constexpr std::size_t mostEntries = 2000;

std::shared_ptr<const Session> read(const std::string& bytes) {
    std::istringstream input(bytes);
    try {
        return std::make_shared<const Session>(KX::Recording::read(
            input, "file", [](const std::string& /*warning*/) {}));
    } catch (const KX::Recording::BadFile&) {
        return nullptr;
    }
}

bool isShort(const Session& session) {
    return session.entries.size() <= mostEntries &&
           (session.entries.empty() ||
            session.entries.back().timeMs - session.entries.front().timeMs <= longestMs);
}

std::string eventsOf(const std::shared_ptr<const Session>& session) {
    const KX::LibraryOutput library(KX::LibraryOutput::Goes::Nowhere);
    std::string events;
    KX::KXSessionPlayer(session, {}).play([&events](const KX::KXInputEvent& event) {
        events += KX::KXEventLine(event).textWithLineEnd();
    });
    return events;
}

} // namespace

std::string problemWithReplay(const std::string& bytes) {
    needToolkit();
    const auto session = read(bytes);
    if (!session || !isShort(*session))
        return {};
    const std::string first = eventsOf(session);
    const std::string second = eventsOf(session);
    return first == second ? "" : "the first play gave\n" + first + "and the second one\n" + second;
}

} // namespace Fuzz
