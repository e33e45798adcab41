#pragma once

#include "events/KXEvent.h"

#include <QTimer>

#include <deque>
#include <functional>
#include <optional>

namespace Terminal {

/// Keeps the reported steps of the encoder apart.
///
/// A window that is busy drawing gets several steps at once, and the encoder has no speed for two reports of one
/// millisecond. Turns of the wheel that share a millisecond become one report. A step key has no count, so each
/// waits until
/// \ref leastGapMs after the step before it. Nobody turns a knob faster, so the wait does not add up. Whatever comes
/// meanwhile waits behind it and keeps its place and its tick.
class StepSpacing {
public:
    static constexpr unsigned int leastGapMs = 4;

    /// \p pass gets each report, in order.
    explicit StepSpacing(std::function<void(KX::KXToolkitEvent&)> pass);

    void take(const KX::KXToolkitEvent& report);

    /// Whether a report waits.
    bool isHolding() const;

private:
    bool isTooEarly(const KX::KXToolkitEvent& report) const;
    bool joinsLast(const KX::KXToolkitEvent& report);
    void passOn(KX::KXToolkitEvent report);
    void passDue();

    const std::function<void(KX::KXToolkitEvent&)> passToManager;
    std::deque<KX::KXToolkitEvent> waiting;
    std::optional<unsigned int> lastStepTick;
    QTimer timer;
};

} // namespace Terminal
