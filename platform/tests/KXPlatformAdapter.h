#pragma once

#include "platform/KXCANMessage.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>

namespace KX {

/// What the platform tests need beyond the headers of platform/: a way to let time pass, and a node on the CAN bus.
///
/// A porter writes one class derived from this one, overrides what differs, and defines \ref makePlatformAdapter. A
/// platform on real time and real threads without a CAN bus needs no override at all. Each default that means "not
/// possible" skips the tests that need it, by name. The thread that runs the tests calls, except where told, and waits
/// for each function to return.
class KXPlatformAdapter {
public:
    virtual ~KXPlatformAdapter() = default;

    /// Called before each test makes its first platform object.
    virtual void beginTest() {}

    /// Called after each test has destroyed its last platform object.
    virtual void endTest() {}

    /// Lets \p ms milliseconds of the platform's clock pass, and runs the platform's threads meanwhile.
    virtual void passTime(unsigned int ms) { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); }

    /// Lets \p ms milliseconds pass for the calling thread only, which was made through KXThread.
    virtual void pauseThread(unsigned int ms) { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); }

    /// So many milliseconds may pass until something comes that has to come. A test that succeeds does not wait that
    /// long. A busy machine or an emulator must not be too slow for it.
    virtual unsigned int getPatienceMs() const { return 20000; }

    /// Sets the platform's clock, so that the tests can watch it wrap.
    /// \return false: not possible
    virtual bool setTick(unsigned int /*tick*/) { return false; }

    /// The largest number of a real-time priority that KXThread::start knows; 0: the platform has none.
    virtual int getGreatestPriority() const { return 0; }

    /// The real-time priority of the calling thread; 0: it has none. Called on a thread that was made through
    /// KXThread.
    /// \return empty: not possible
    virtual std::optional<int> getPriorityOfThisThread() { return std::nullopt; }

    /// The name of the calling thread as the tools of the system show it. Called on a thread that was made through
    /// KXThread.
    /// \return empty: not possible
    virtual std::optional<std::string> getNameOfThisThread() { return std::nullopt; }

    /// Calls \p speak.
    /// \return what the debug service showed meanwhile; level 1 has to be shown. Empty: not possible
    virtual std::optional<std::string> listen(const std::function<void()>& /*speak*/) { return std::nullopt; }

    /// Number of a CAN bus that is up and that nobody else uses; -1: the platform has none.
    virtual int getBus() const { return -1; }

    /// Number of a CAN bus that does not exist.
    virtual int getMissingBus() const { return 4711; }

    /// Sends a frame to \ref getBus as another node of the bus does. It need not have arrived on return. Its identifier
    /// has 29 bits and no flags.
    /// \return false: the bus did not take it
    virtual bool sendFrame(const KXCANMessage& /*frame*/) { return false; }

    /// Sends a remote frame, or lets an error frame come: the end point must not deliver it.
    /// \return false: not possible
    virtual bool sendUndeliverableFrame() { return false; }

    /// Takes \ref getBus down, or brings it up again.
    /// \return false: not possible
    virtual bool setBusDown(bool /*down*/) { return false; }
};

/// Defined by the porter. Called once, on the thread that runs the tests, which waits for it before the first test.
/// \return owned by the tests, to the end of the program; not null
std::unique_ptr<KXPlatformAdapter> makePlatformAdapter();

} // namespace KX
