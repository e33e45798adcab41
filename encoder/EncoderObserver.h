#pragma once

#include <vector>

namespace KX {

struct KXEncoderDynamicPair;

/// Is told of each setting of the encoder before it takes effect, on the thread that sets it.
class EncoderObserver {
public:
    virtual void onUserFactor(int factor) = 0;
    virtual void onLowPassFactor(int factor) = 0;
    virtual void onSpeedTable(const std::vector<KXEncoderDynamicPair>& pairs) = 0;

    /// Makes \p observer the one of the process; null: nobody. It must exist for as long as the process does.
    static void set(EncoderObserver* observer);

protected:
    ~EncoderObserver() = default;
};

} // namespace KX
