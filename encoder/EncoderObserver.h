#pragma once

#include <vector>

namespace KX {

struct KXEncoderDynamicPair;

/// Gets each setting of the encoder before it takes effect, on the thread that sets it.
class EncoderObserver {
public:
    virtual void onUserFactor(int factor) = 0;
    virtual void onLowPassFactor(int factor) = 0;
    virtual void onSpeedTable(const std::vector<KXEncoderDynamicPair>& pairs) = 0;

    /// Sets the observer of the process; null: none. \p observer must exist until the process ends.
    static void set(EncoderObserver* observer);

protected:
    ~EncoderObserver() = default;
};

} // namespace KX
