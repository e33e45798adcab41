// A complaint becomes a test: "I pressed twice and it opened two pages." The recording is played through the library
// and through the application in virtual time, on any machine, in no time.
//
//     complaint_as_test complaint.kxr 2

#include "events/KXEventType.h"
#include "replay/KXSessionPlayer.h"

#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace {

// The part of the application that the complaint is about. A quick second press keeps the page that is open.
class Pages {
public:
    void take(const KX::KXInputEvent& event) {
        if (event.eventType == KX::KEY_PRESS_EVENT)
            ++opened;
    }

    int openedPages() const { return opened; }

private:
    int opened = 0;
};

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "Usage: complaint_as_test RECORDING PAGES\n");
        return 2;
    }
    try {
        Pages pages;
        KX::KXSessionPlayer player(argv[1]);
        player.play([&](const KX::KXInputEvent& event) { pages.take(event); });
        std::printf("%d pages opened, %s expected\n", pages.openedPages(), argv[2]);
        return pages.openedPages() == std::atoi(argv[2]) ? 0 : 1;
    } catch (const std::runtime_error& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 2;
    }
}
