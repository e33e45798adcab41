// What the platform tests need to know of this platform.

#include "platform/tests/KXPlatformAdapter.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <pthread.h>
#include <sched.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

class PosixAdapter : public KX::KXPlatformAdapter {
public:
    void beginTest() override {
        char folder[] = "/tmp/port_posix_XXXXXX";
        bus = std::string(mkdtemp(folder)) + "/bus";
        setenv("KX_CAN_BUS_0", bus.c_str(), 1);
        setBusDown(false);
    }

    void endTest() override {
        setBusDown(true);
        rmdir(bus.substr(0, bus.rfind('/')).c_str());
    }

    int getGreatestPriority() const override { return sched_get_priority_max(SCHED_FIFO); }

    std::optional<int> getPriorityOfThisThread() override {
        int policy = 0;
        sched_param parameter{};
        pthread_getschedparam(pthread_self(), &policy, &parameter);
        return policy == SCHED_FIFO ? parameter.sched_priority : 0;
    }

    std::optional<std::string> listen(const std::function<void()>& speak) override {
        const int standardError = dup(STDERR_FILENO);
        std::FILE* const heard = std::tmpfile();
        dup2(fileno(heard), STDERR_FILENO);
        speak();
        dup2(standardError, STDERR_FILENO);
        close(standardError);
        char text[4096] = {};
        std::rewind(heard);
        const std::size_t size = std::fread(text, 1, sizeof(text), heard);
        std::fclose(heard);
        return std::string(text, size);
    }

    int getBus() const override { return 0; }
    bool sendFrame(const KX::KXCANMessage& frame) override { return write(frame, frame.canId | 0x80000000U); }
    bool sendUndeliverableFrame() override {
        return write(KX::KXCANMessage(), 0x40000012U) && write(KX::KXCANMessage(), 0x20000020U);
    }

    bool setBusDown(bool down) override {
        if (!down)
            return mkfifo(bus.c_str(), 0600) == 0;
        openWriter(); // so that a reader notices the driver leave
        if (writer != -1)
            close(writer);
        writer = -1;
        return unlink(bus.c_str()) == 0;
    }

private:
    void openWriter() {
        if (writer == -1)
            writer = open(bus.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC); // fails while nobody reads
    }

    bool write(const KX::KXCANMessage& frame, std::uint32_t id) {
        unsigned char record[16] = {};
        std::memcpy(record, &id, 4);
        record[4] = static_cast<unsigned char>(frame.canLength);
        std::copy(frame.canData, frame.canData + 8, record + 8);
        openWriter();
        return ::write(writer, record, sizeof(record)) == static_cast<ssize_t>(sizeof(record));
    }

    std::string bus;
    int writer = -1;
};

} // namespace

std::unique_ptr<KX::KXPlatformAdapter> KX::makePlatformAdapter() {
    return std::make_unique<PosixAdapter>();
}
