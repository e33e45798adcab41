#pragma once

#include "events/KXCANMessage.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <sys/types.h>
#include <vector>

struct can_frame;

/// A folder for one test, gone with it.
class TestFolder {
public:
    TestFolder();
    ~TestFolder();
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;

    std::string operator/(const std::string& name) const;
    std::string write(const std::string& name, const std::string& text) const;

private:
    std::string folder;
};

/// A datagram socket at a path, as a virtual bus has.
class BusSocket {
public:
    explicit BusSocket(const std::string& path);
    ~BusSocket();
    BusSocket(const BusSocket&) = delete;
    BusSocket& operator=(const BusSocket&) = delete;

    /// Takes the next datagram. \return its size; -1 when none comes within a time that is long for any machine
    ssize_t receive(can_frame& frame) const;

    bool isEmpty() const;

private:
    int descriptor;
};

/// A run of kxcan.
class CANProgram {
public:
    /// \param input  what its standard input holds
    CANProgram(const TestFolder& testFolder, const std::vector<std::string>& arguments,
               const std::string& input = std::string());
    ~CANProgram();
    CANProgram(const CANProgram&) = delete;
    CANProgram& operator=(const CANProgram&) = delete;

    /// \return its exit status; -1 when a signal ended it
    int wait();

    std::string output() const;
    std::string errors() const;

private:
    const TestFolder& folder;
    pid_t process = -1;
};
