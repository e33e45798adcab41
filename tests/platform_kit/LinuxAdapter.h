#pragma once

#include "platform/tests/KXPlatformAdapter.h"
#include "support/BusFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <linux/can.h>
#include <pthread.h>
#include <sched.h>
#include <sys/socket.h>
#include <unistd.h>

namespace KX {

/// Its bus is a virtual one, which is never down.
class LinuxAdapter : public KXPlatformAdapter {
public:
    void beginTest() override { bus = std::make_unique<BusFolder>(); }
    void endTest() override { bus.reset(); }

    int getGreatestPriority() const override { return sched_get_priority_max(SCHED_FIFO); }

    std::optional<int> getPriorityOfThisThread() override {
        int policy = 0;
        sched_param parameter{};
        pthread_getschedparam(pthread_self(), &policy, &parameter);
        return policy == SCHED_FIFO ? parameter.sched_priority : 0;
    }

    std::optional<std::string> getNameOfThisThread() override {
        char name[32] = {};
        pthread_getname_np(pthread_self(), name, sizeof(name));
        return name;
    }

    std::optional<std::string> listen(const std::function<void()>& speak) override {
        testing::internal::CaptureStderr();
        speak();
        return testing::internal::GetCapturedStderr();
    }

    int getBus() const override { return 0; }

    bool sendFrame(const KXCANMessage& frame) override {
        can_frame raw{};
        raw.can_id = frame.canId | CAN_EFF_FLAG;
        raw.can_dlc = static_cast<unsigned char>(frame.canLength);
        std::copy(frame.canData, frame.canData + 8, raw.data);
        return send(raw);
    }

    bool sendUndeliverableFrame() override {
        can_frame remote{};
        remote.can_id = 0x12 | CAN_RTR_FLAG;
        can_frame error{};
        error.can_id = 0x20 | CAN_ERR_FLAG;
        return send(remote) && send(error);
    }

private:
    bool send(const can_frame& frame) const {
        const sockaddr_un address = makeAddress(bus->path);
        const int sender = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        const bool isSent = sendto(sender, &frame, sizeof(frame), 0, reinterpret_cast<const sockaddr*>(&address),
                                   sizeof(address)) == static_cast<ssize_t>(sizeof(frame));
        close(sender);
        return isSent;
    }

    std::unique_ptr<BusFolder> bus;
};

} // namespace KX
