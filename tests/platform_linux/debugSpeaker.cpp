// A user of the debug service: prints what its arguments say, for the tests to read.
//
//     say SECTION LEVEL TEXT          one message, as given
//     length SECTION LEVEL COUNT      one message of COUNT letters
//     threads SECTION COUNT MESSAGES  COUNT threads that say that many messages each, some of them long,
//                                     and a last one when they are done
//     unknown LEVEL TEXT              a message under a key that nobody has
//     errno                           fails when a message changes errno
//     regain SECTION                  a message for which there is no room anywhere, and one with room
//     late SECTION TEXT               a message from a static destructor

#include "platform/KXDebug.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

// As the library's own sections: registered before main.
const unsigned int earlyKey = KX::KXDebug::insertNewDebugSection("early");

struct SpeaksLate {
    std::string text;
    unsigned int key = 0;
    ~SpeaksLate() {
        if (!text.empty())
            KX::KXDebug::debugPrintError(1, key, "%s", text.c_str());
    }
} lateSpeaker;

void speakInThreads(unsigned int key, int count, int messages) {
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) {
        threads.emplace_back([=] {
            const std::string letters(i % 2 == 0 ? 20 : 9000, static_cast<char>('a' + i));
            for (int message = 0; message < messages; ++message)
                KX::KXDebug::debugPrintError(1, key, "%d %s", message, letters.c_str());
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    // After this line, nothing is left to be told.
    pollfd query{STDERR_FILENO, POLLOUT, 0};
    poll(&query, 1, -1);
    KX::KXDebug::debugPrintError(1, key, "the end");
}

} // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    const std::string& command = arguments.at(0);
    if (command == "errno") {
        errno = ENOENT;
        close(STDERR_FILENO);
        KX::KXDebug::debugPrintError(1, earlyKey, "into nothing");
        return errno == ENOENT ? 0 : 1;
    }
    if (command == "unknown") {
        KX::KXDebug::debugPrintError(std::stoi(arguments.at(1)), 123456, "%s", arguments.at(2).c_str());
        return 0;
    }
    const unsigned int key = KX::KXDebug::insertNewDebugSection(arguments.at(1));
    if (command == "say") {
        KX::KXDebug::debugPrintError(std::stoi(arguments.at(2)), key, "%s", arguments.at(3).c_str());
    } else if (command == "length") {
        const std::string letters(std::stoul(arguments.at(3)), 'x');
        KX::KXDebug::debugPrintError(std::stoi(arguments.at(2)), key, "%s", letters.c_str());
    } else if (command == "threads") {
        speakInThreads(key, std::stoi(arguments.at(2)), std::stoi(arguments.at(3)));
    } else if (command == "regain") {
        const int error = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);
        dup2(open("/dev/full", O_WRONLY | O_CLOEXEC), STDERR_FILENO);
        KX::KXDebug::debugPrintError(1, key, "lost");
        dup2(error, STDERR_FILENO);
        KX::KXDebug::debugPrintError(1, key, "regained");
    } else if (command == "late") {
        lateSpeaker.key = key;
        lateSpeaker.text = arguments.at(2);
    }
    return 0;
}
