#pragma once

#include "bench/fullbus/BusTraffic.h"

#include <QSocketNotifier>
#include <QWidget>

#include <cstdint>
#include <memory>

/// An application as it is on a terminal: an active window, a toolkit layer that reports its keys to the manager,
/// and a main loop that takes the classified events. It checks each of them.
class KeypadApplication : public QWidget {
public:
    /// Makes the manager and lets it read the keypad of the bus traffic.
    explicit KeypadApplication(const BusTraffic& newTraffic);
    ~KeypadApplication() override;

    std::uint32_t getKeyEvents() const;
    std::uint32_t getEncoderSteps() const;
    std::uint32_t getEncoderEvents() const;

    /// Key events that were not the next to come.
    std::uint32_t getWrongEvents() const;

protected:
    bool event(QEvent* event) override;

private:
    void takeEvents();
    void checkKey(int eventType, int keyCode);

    const BusTraffic traffic;
    std::unique_ptr<QSocketNotifier> eventsNotifier;
    std::uint32_t keyEvents = 0;
    std::uint32_t encoderSteps = 0;
    std::uint32_t encoderEvents = 0;
    std::uint32_t wrongEvents = 0;
};
