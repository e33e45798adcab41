#pragma once

#include "bench/fullbus/KeypadApplication.h"
#include "tests/soak/Load.h"
#include "tools/canbus/CANSender.h"

#include <QTimer>

#include <chrono>
#include <cstdio>
#include <exception>
#include <memory>
#include <thread>

namespace KX::test {

/// A keypad on a full bus: keys and encoder steps, by way of a window, to classified events. Belongs to the GUI thread,
/// whose main loop takes the events.
class KeypadLoad : public Load {
public:
    explicit KeypadLoad(std::string newBus) : Load("keypad"), bus(std::move(newBus)), keypad(traffic) {
        QObject::connect(&counting, &QTimer::timeout, [this] { count(); });
        counting.start(100);
    }

    void start() override {
        sending = std::thread([this] { send(); });
    }

    void stop() override {
        isStopping = true;
        sending.join();
        const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (taken < given && std::chrono::steady_clock::now() < limit)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QTimer::singleShot(300, [] { QCoreApplication::quit(); }); // what came twice would come now
        QCoreApplication::exec();
        count();
    }

private:
    void send() {
        try {
            KX::CanBus::CANSender sender(bus);
            const auto begin = std::chrono::steady_clock::now();
            for (std::uint32_t sent = 0; !isStopping;) {
                std::this_thread::sleep_until(
                    begin + std::chrono::nanoseconds(1000000000LL * sent / Bench::BusTraffic::framesPerSecond));
                sender.send(traffic.makeFrame(sent++));
                given = traffic.countKeyChanges(sent) + Bench::BusTraffic::countEncoderFrames(sent);
            }
        } catch (const std::exception& error) {
            std::fprintf(stderr, "soak: %s\n", error.what());
            ++wrong;
        }
    }

    void count() {
        taken = keypad.taken.keyEvents + keypad.taken.encoderSteps;
        wrong = keypad.taken.wrongKeyEvents;
    }

    const std::string bus;
    const Bench::BusTraffic traffic{Bench::BusTraffic::keyCount};
    Bench::KeypadApplication keypad;
    QTimer counting;
    std::thread sending;
    std::atomic<bool> isStopping{false};
};

} // namespace KX::test
