#pragma once

namespace Terminal {

/// Makes whole steps out of what a wheel reports.
///
/// Ordinary wheels report a detent at a time, wheels of high resolution fractions of one, which add up here.
class WheelDetents {
public:
    /// \param angle  how far the wheel turned, in eighths of a degree; positive: away from the operator
    /// \return whole detents that are due now; negative: towards the operator
    int turn(int angle) {
        const bool reversed = (angle < 0) != (remainder < 0);
        if (reversed)
            remainder = 0; // what was left of the other direction is not to be made up for first
        remainder += angle;
        const int detents = remainder / anglePerDetent;
        remainder -= detents * anglePerDetent;
        return detents;
    }

private:
    static constexpr int anglePerDetent = 120;

    int remainder = 0;
};

} // namespace Terminal
