#pragma once

#include "events/KXEvent.h"
#include "events/KXEventKind.h"
#include "terminal/events/EncoderTurn.h"

#include <QString>

#include <cstdint>
#include <optional>

namespace Terminal {

/// The operator's last gesture in words, made from the classified events.
///
/// A gesture stays while its release follows: a release only adds a mark. The moves of one turn of the encoder are one
/// gesture.
class LastGesture {
public:
    /// How a press ended.
    struct Ending {
        KX::KXGesture gesture; ///< Release, LongRelease or Escape
        QString words;         ///< "released after 70 ms"
    };

    void take(const KX::KXInputEvent& event);

    /// "Double press \u2014 Esc", "Turned 5 steps, +69". Empty before the first gesture.
    QString words() const;

    /// What kind of gesture it is; without device before the first gesture.
    KX::KXEventKind kind() const;

    /// The mark beside the words; nothing while the key is down, and after a turn of the encoder.
    const std::optional<Ending>& ending() const;

private:
    void begin(const KX::KXInputEvent& event, const KX::KXEventKind& kind);
    void end(const KX::KXInputEvent& event, KX::KXGesture gesture);
    bool isOfSameKey(const KX::KXInputEvent& event) const;

    KX::KXEventKind shown;
    QString key;
    KX::KXInputEvent press; ///< the press that the gesture began with
    EncoderTurn turn;
    bool isLong = false;
    std::optional<Ending> mark;
};

} // namespace Terminal
