#pragma once

namespace KX {

/// Turns the reports of a wheel into whole detents, for a widget that handles the wheel itself
/// (KXToolkitLayer::leaveWheelTo).
///
/// Ordinary wheels report one detent at a time. High-resolution wheels report fractions, which add up here. Each
/// wheel needs an object of its own. One thread at a time; nothing blocks.
class KXWheelDetents {
public:
    /// Adds a report of the wheel.
    /// \param angle  of the turn in eighths of a degree, as QWheelEvent::angleDelta has it; positive is away from
    ///               the operator
    /// \return number of whole detents that are due now; negative is towards the operator
    int turn(int angle) {
        const bool reversed = (angle < 0 && remainder > 0) || (angle > 0 && remainder < 0);
        if (reversed)
            remainder = 0; // the rest of the other direction must not delay this one
        // Both are less than a detent, so no angle is too large for the sum.
        const int parts = remainder + angle % anglePerDetent;
        remainder = parts % anglePerDetent;
        return angle / anglePerDetent + parts / anglePerDetent;
    }

private:
    static constexpr int anglePerDetent = 120;

    int remainder = 0;
};

} // namespace KX
