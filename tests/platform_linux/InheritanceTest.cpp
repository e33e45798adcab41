#include "platform/KXCANRaw.h"
#include "platform/KXEndPointManager.h"
#include "platform/KXPipe.h"
#include "support/BusFolder.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fcntl.h>
#include <memory>
#include <set>
#include <unistd.h>

namespace {

/// \return the numbers of the descriptors that a program has which this process starts
std::set<int> listDescriptorsOfChild() {
    // The shell lists itself, so only what exec leaves open counts.
    std::FILE* const output = popen("for f in /proc/$$/fd/*; do echo ${f##*/}; done", "re");
    std::set<int> numbers;
    int number = 0;
    while (std::fscanf(output, "%d", &number) == 1)
        numbers.insert(number);
    pclose(output);
    return numbers;
}

/// Everything that opens a descriptor on this platform.
class EverythingOpen {
public:
    EverythingOpen() : bus(KX::KXCANRaw::create(0, 0, 0)), pipeOpened(pipe.init()) {}

    bool isOpen() const { return bus && bus->isConnected() && pipeOpened == 0; }

private:
    const BusFolder folder;
    const std::unique_ptr<KX::KXCANRaw> bus;
    KX::KXPipe pipe;
    KX::KXEndPointManager manager;
    const int pipeOpened;
};

TEST(Inheritance, aProgramThatIsStartedGetsNoDescriptorOfTheLibrary) {
    const std::set<int> before = listDescriptorsOfChild();
    const EverythingOpen everything;
    ASSERT_TRUE(everything.isOpen());
    EXPECT_EQ(listDescriptorsOfChild(), before);
}

TEST(Inheritance, theListShowsADescriptorThatIsInherited) {
    const std::size_t before = listDescriptorsOfChild().size();
    const int inherited = open("/dev/null", O_RDONLY);
    EXPECT_EQ(listDescriptorsOfChild().size(), before + 1);
    close(inherited);
}

} // namespace
