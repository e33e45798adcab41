// libKXAPI_Hardware of POSIX calls. POSIX knows no CAN, so bus n is the FIFO that the environment variable
// KX_CAN_BUS_<n> names: a driver writes records of 16 bytes into it. Without the FIFO, the bus is down.

#include "platform/KXCANMessage.h"
#include "platform/KXCANRaw.h"
#include "platform/KXStatus.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <fcntl.h>
#include <iterator>
#include <new>
#include <string>
#include <unistd.h>

namespace KX {
namespace {

/// What the driver writes at once. It is smaller than PIPE_BUF, so it comes whole.
struct Record {
    std::uint32_t id; // bit 31: extended, 30: remote frame, 29: error frame
    std::uint8_t length;
    std::uint8_t unused[3];
    unsigned char data[8];
};
static_assert(sizeof(Record) == 16, "as the driver writes it");

constexpr std::uint32_t notDelivered = 0x60000000;

class FifoCAN : public KXCANRaw {
public:
    explicit FifoCAN(const char* nameOfFifo) : name(nameOfFifo) { FifoCAN::reconnect(); }
    ~FifoCAN() override { close(); }

    int configure(unsigned char setting) override { return setting == 0 ? STATUS_OK : STATUS_OUT_OF_RANGE; }

    int readFrame(KXCANMessage& message) override {
        Record record{};
        do {
            if (read(descriptor, &record, sizeof(record)) != static_cast<ssize_t>(sizeof(record)))
                return STATUS_REFUSED; // empty, closed, or the driver has gone: the manager finds out
        } while ((record.id & notDelivered) != 0 || record.length > 8);
        message.canId = record.id;
        message.canLength = record.length;
        std::fill(std::begin(message.canData), std::end(message.canData), static_cast<unsigned char>(0));
        std::copy(record.data, record.data + record.length, message.canData);
        return STATUS_OK;
    }

    int getReadEndPointID() const override { return descriptor; }
    int getWriteEndPointID() const override { return -1; }
    bool isConnected() const override { return descriptor != -1; }

    int reconnect() override {
        close();
        descriptor = open(name, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        return isConnected() ? STATUS_OK : STATUS_REFUSED;
    }

private:
    void close() {
        const int closing = descriptor.exchange(-1);
        if (closing != -1)
            ::close(closing);
    }

    const char* const name; // the environment's
    std::atomic<int> descriptor{-1};
};

} // namespace

KXCANRaw* KXCANRaw::create(int bus, int /*bitRate*/, int /*receiveBuffer*/) {
    const char* const name = std::getenv(("KX_CAN_BUS_" + std::to_string(bus)).c_str());
    return name ? new (std::nothrow) FifoCAN(name) : nullptr;
}

KXCANRaw::KXCANRaw() = default;
KXCANRaw::~KXCANRaw() = default;

} // namespace KX
