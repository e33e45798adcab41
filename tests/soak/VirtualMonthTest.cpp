#include "encoder/KXEncoderDynamic.h"
#include "support/OperatorTest.h"

#include <chrono>
#include <iostream>

namespace KX::test {
namespace {
TEST_F(OperatorTest, Probe) {
    for (unsigned chunk : {100u, 60000u}) {
        auto t0 = std::chrono::steady_clock::now();
        for (unsigned done = 0; done < 36000000; done += chunk)
            timePasses(chunk);
        auto t1 = std::chrono::steady_clock::now();
        std::cout << chunk << ": " << std::chrono::duration<double, std::micro>(t1 - t0).count() / 360000
                  << " us a pass\n";
    }
}
} // namespace
} // namespace KX::test
