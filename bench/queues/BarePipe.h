#pragma once

#include "bench/support/Numbered.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace Bench {

/// A record through a pipe of the system, for one write, one look whether something is there and one read: what a
/// queue on a pipe cannot do without.
class BarePipe {
public:
    using Item = Record;

    BarePipe() {
        isOpen = pipe2(ends, O_NONBLOCK | O_CLOEXEC) == 0;
    }

    ~BarePipe() {
        if (isOpen) {
            close(ends[0]);
            close(ends[1]);
        }
    }

    BarePipe(const BarePipe&) = delete;
    BarePipe& operator=(const BarePipe&) = delete;

    // What could not be written is missed when it is to be taken.
    void post(const Item& record) {
        static_cast<void>(!write(ends[1], &record, sizeof(record)));
    }

    bool take(OrderCheck& order) {
        pollfd query{ends[0], POLLIN, 0};
        Item oldest;
        if (poll(&query, 1, 0) != 1 || read(ends[0], &oldest, sizeof(oldest)) != sizeof(oldest))
            return false;
        order.take(getNumber(oldest));
        return true;
    }

private:
    int ends[2] = {-1, -1};
    bool isOpen = false;
};

} // namespace Bench
