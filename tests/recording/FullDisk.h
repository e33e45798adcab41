#pragma once

#include <csignal>
#include <sys/resource.h>

namespace KX::test {

// Acts like a disk that is full at this file size. The signal for a write beyond it, which would end the program,
// is ignored.
class Disk {
public:
    explicit Disk(rlim_t size) {
        getrlimit(RLIMIT_FSIZE, &before);
        rlimit limit = before;
        limit.rlim_cur = size;
        setrlimit(RLIMIT_FSIZE, &limit);
    }

    ~Disk() {
        setrlimit(RLIMIT_FSIZE, &before);
        signal(SIGXFSZ, handler);
    }

    Disk(const Disk&) = delete;
    Disk& operator=(const Disk&) = delete;

private:
    rlimit before{};
    void (*const handler)(int) = signal(SIGXFSZ, SIG_IGN);
};

} // namespace KX::test
