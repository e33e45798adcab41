#include "tools/kxreplay/statistics/Survey.h"

#include "events/KXEventKind.h"
#include "tools/arguments/BadInput.h"
#include "tools/kxreplay/Keypad.h"
#include "tools/kxreplay/statistics/GestureCounter.h"

#include <utility>

namespace Replay {

namespace {

KX::KXInputSetting settingOf(Limit limit) {
    return limit == Limit::DoublePress ? KX::KXInputSetting::DoubleKeyPressDuration
                                       : KX::KXInputSetting::LongKeyPressDuration;
}

bool isPossible(const OtherSettings& settings, const Playable& playable, const std::string& file) {
    try {
        checkDurations(settings, playable, file);
        return true;
    } catch (const Arguments::BadInput&) {
        return false;
    }
}

} // namespace

Survey::Survey(Options surveyOptions, std::function<void()> makeToolkit)
    : options(std::move(surveyOptions)), beforeFrames(std::move(makeToolkit)) {}

Counts Survey::countIn(const std::string& file) const {
    const std::string name = file == "-" ? "standard input" : file;
    Counts counts;
    bool isWarned = false;
    const Playable playable = playableOf(file, [&isWarned](const std::string&) { isWarned = true; });
    if (playable.facts.entries == 0)
        throw Arguments::BadInput(name + ": there is nothing to play in it");
    checkDurations(options.other, playable, file, file);
    Player::Options recorded;
    if (playable.facts.isPlainLog) { // the frames of a recording change no event
        recorded.beforeFrames = beforeFrames;
        if (!options.keypadFile.empty())
            recorded.keypad = readKeypad(options.keypadFile);
    }
    recorded.other = options.other;
    GestureCounter gestures(counts);
    Player(playable, recorded).play([&gestures](const PlayedEvent& played) { gestures.take(played); }, [] {});
    for (const Grid& grid : options.grids)
        playGrid(grid, playable, recorded, file, counts);
    counts.add(Counted::Recordings);
    counts.add(Counted::Warnings, {}, isWarned ? 1 : 0);
    counts.add(Counted::Milliseconds, {}, playable.facts.lastMs - playable.facts.firstMs);
    return counts;
}

void Survey::playGrid(const Grid& grid, const Playable& playable, const Player::Options& recorded,
                      const std::string& file, Counts& counts) const {
    for (const unsigned int valueMs : grid.valuesMs) {
        const std::array<int, 4> numbers = {static_cast<int>(grid.limit), static_cast<int>(valueMs)};
        Player::Options changed = recorded;
        changed.other.values[settingOf(grid.limit)] = valueMs;
        if (!isPossible(changed.other, playable, file)) {
            counts.add(Counted::GridImpossible, numbers);
            continue;
        }
        counts.add(Counted::GridRecordings, numbers);
        Player(playable, changed)
            .play(
                [&counts, &numbers](const PlayedEvent& played) {
                    const KX::KXGesture gesture = KX::kindOfEventType(played.event.eventType).gesture;
                    if (gesture == KX::KXGesture::DoublePress)
                        counts.add(Counted::GridDoubles, numbers);
                    else if (gesture == KX::KXGesture::LongPress)
                        counts.add(Counted::GridLongs, numbers);
                },
                [] {});
    }
}

} // namespace Replay
