#pragma once

#include "events/KXEvent.h"
#include "platform/KXExport.h"

#include <cstdint>
#include <vector>

namespace KX {

/// One row of the encoder's speed table.
struct KXEncoderDynamicPair {
    unsigned int timeGap;   ///< in ms; the row is for steps that take less
    unsigned int increment; ///< of such a step, before the user factor
};

/// Time gaps of the default speed table, in ms, strictly rising.
KX_EVENTS_API extern const int DEFAULT_TIME_GAPS[7];
/// Increments of the default speed table, paired with the time gaps by index.
KX_EVENTS_API extern const int DEFAULT_INCREMENTS[7];

/// Accelerates a rotary encoder. By default a slow step counts 1 and a fast one up to thousands.
///
/// One instance serves the process. Nothing is locked and nothing blocks. The input event manager calls \ref
/// calculateIncrement on the thread that delivers input. Call the setters on that thread too, between two steps.
class KX_EVENTS_API KXEncoderDynamic {
public:
    /// The instance, owned by the class, made with its defaults on first use. The input event manager deletes it
    /// at shut-down; the next call makes a new one. Not guarded against two first uses at once.
    /// \return null when it cannot be initialised, which is reported in "kx_encoder_dynamic" at level 1
    static KXEncoderDynamic* instance();

    /// For \ref instance and for tests: the state before \ref initialize.
    KXEncoderDynamic();

    /// The next \ref instance makes a new one.
    virtual ~KXEncoderDynamic();

    KXEncoderDynamic(const KXEncoderDynamic&) = delete;
    KXEncoderDynamic& operator=(const KXEncoderDynamic&) = delete;

    /// Sets the default table and factors and forgets earlier steps.
    /// \return STATUS_OK (0)
    int initialize();

    /// Replaces the speed table. The rows' time gaps must rise strictly.
    ///
    /// After a longer step than twice the last time gap the encoder counts as restarted. With fewer than two rows,
    /// and after a refused table, that limit is 500 ms.
    /// \return STATUS_OK (0); STATUS_TABLE_NOT_RISING (3) when the gaps do not rise, and then the old table stays
    /// \throws std::bad_alloc  nothing is changed
    int setDynamicParameters(const std::vector<KXEncoderDynamicPair>& pairs);
    /// A copy of the speed table.
    std::vector<KXEncoderDynamicPair> getDynamicParameters() const;

    /// The weight of a new target increment in thousandths; 1000 follows the table without delay.
    /// \return STATUS_OK (0); STATUS_OUT_OF_RANGE (24) when \p factor is not 1 to 1000, and then the old one stays
    int setLowPassFactor(int factor);
    /// The weight of a new target increment, in thousandths.
    int getLowPassFactor() const;

    /// Scale of every increment, in thousandths.
    /// \return STATUS_OK (0); STATUS_OUT_OF_RANGE (24) when \p factor is not above 0, and then the old one stays
    int setUserFactor(int factor);
    /// The scale of every increment, in thousandths.
    int getUserFactor() const;

    /// The smoothed time of a step, in ms.
    int getTimeGap() const;

    /// The encoder restarts after a step that took longer, in ms.
    unsigned int getRestartTimeGap() const;

    /// Tick of the last step handled.
    std::uint64_t getLastTimeStamp() const;

    /// Adds the increment of \p step to the \c value of \p bundle. Both may be the same event. A step with
    /// \c count 0 counts as one, and its \c count is set to 1. Time stamps are compared as plain numbers, so the
    /// first step after the wrap of the tick is not later than the last one before it.
    /// \return STATUS_OK (0); STATUS_NOT_AN_ENCODER_EVENT (29) when \p step is no ENCODER_MOVE_EVENT;
    ///         STATUS_TIME_GAP_NOT_POSITIVE (1) when it is not later than the last step, which is reported in
    ///         "kx_encoder_dynamic" at level 1. \p bundle is unchanged unless 0 is returned.
    int calculateIncrement(KXInputEvent& step, KXInputEvent& bundle);

    /// Key of the debug section "kx_encoder_dynamic"; set when the library is loaded.
    static const unsigned int debugSection;

private:
    KX_LOCAL void smoothTimeGap(unsigned int gap);
    KX_LOCAL unsigned int targetIncrement() const;
    KX_LOCAL unsigned int smoothIncrement(unsigned int stepCount) const;

    static KXEncoderDynamic* theInstance;

    int userFactor;
    std::vector<KXEncoderDynamicPair> dynamicParameters;
    int lowPassFactor;
    int timeGap;
    int increment;
    unsigned int maxTimeGap;
    std::uint64_t lastTimeStamp;
};

} // namespace KX
