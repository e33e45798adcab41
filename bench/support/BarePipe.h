#pragma once

#include "bench/support/Payload.h"

#include <boost/noncopyable.hpp>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace Bench {

/// A record through a pipe of the system: the least that a queue on a pipe takes.
class BarePipe : private boost::noncopyable {
public:
    using Item = Record;

    BarePipe() {
        static_cast<void>(!pipe2(ends, O_NONBLOCK | O_CLOEXEC)); // a record that is not there is noticed
    }
    ~BarePipe() {
        close(ends[0]);
        close(ends[1]);
    }

    // A record that could not be written is missed when it is to be taken.
    void post(const Item& record) { static_cast<void>(!write(ends[1], &record, sizeof record)); }

    bool isReadable() const {
        pollfd query{ends[0], POLLIN, 0};
        return poll(&query, 1, 0) == 1;
    }

    bool read(Item& oldest) const { return ::read(ends[0], &oldest, sizeof oldest) == sizeof oldest; }

    template<class Sink>
    bool take(Sink& sink) {
        Item oldest;
        if (!isReadable() || !read(oldest))
            return false;
        sink.take(oldest);
        return true;
    }

    int getReadEndPointID() const { return ends[0]; }

private:
    int ends[2] = {-1, -1};
};

} // namespace Bench
