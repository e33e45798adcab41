#pragma once

#include "events/KXEventKind.h"
#include "recording/KXRecording.h"
#include "recording/format/RecordingFormat.h"
#include "tools/kxreplay/EventOutput.h"
#include "tools/kxreplay/Player.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iostream>
#include <sstream>
#include <string>
#include <vector>

namespace Replay::test {

/// Reads a text as a file; a warning fails the test.
inline KX::Recording::Session readText(const std::string& text) {
    std::istringstream input(text);
    return KX::Recording::read(input, "day.kxr", [](const std::string& warning) { ADD_FAILURE() << warning; });
}

/// A recording with these lines after its first line.
inline KX::Recording::Session recording(const std::string& lines) {
    return readText(std::string(KX::Recording::firstLine()) + "\n" + lines);
}

/// The important part of an event: "1000 KEY_PRESS_EVENT 0". A move has value and count, "1000 ENCODER_MOVE_EVENT
/// 4 1/3"; a mouse event has the button.
inline std::string brief(const KX::KXInputEvent& event) {
    std::string text =
        std::to_string(event.timeStamp) + " " + KX::translateEventTypeToString(event.eventType) + " ";
    if (KX::isMouseEvent(event.eventType))
        return text + std::to_string(event.eventData[1]);
    text += std::to_string(event.keyCode);
    if (isEncoderMove(event))
        text += " " + std::to_string(event.value) + "/" + std::to_string(event.count);
    return text;
}

/// Plays in this process and keeps what the library prints.
class ReplayTest : public testing::Test {
protected:
    std::vector<PlayedEvent> playEvents(const KX::Recording::Session& session,
                                        const Player::Options& options = {}) {
        std::ostringstream written;
        std::streambuf* const standardOutput = std::cout.rdbuf(written.rdbuf());
        std::streambuf* const standardError = std::cerr.rdbuf(written.rdbuf());
        std::vector<PlayedEvent> events;
        std::size_t steps = 0;
        Player(std::make_shared<const KX::Recording::Session>(session), options)
            .play([&events](const PlayedEvent& event) { events.push_back(event); }, [&steps] { ++steps; });
        std::cout.rdbuf(standardOutput);
        std::cerr.rdbuf(standardError);
        library = written.str();
        EXPECT_EQ(steps, session.entries.size());
        return events;
    }

    std::vector<std::string> play(const KX::Recording::Session& session, const Player::Options& options = {}) {
        std::vector<std::string> lines;
        for (const PlayedEvent& played : playEvents(session, options))
            lines.push_back(brief(played.event));
        return lines;
    }

    std::string library;
};

} // namespace Replay::test
