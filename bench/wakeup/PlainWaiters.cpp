// What needs no loop of others: the library's pipe queue, a bare pipe and a condition variable.

#include "bench/wakeup/Waiter.h"

#include "events/KXEventQueueAsPipe.h"

#include <condition_variable>
#include <cstdlib>
#include <deque>
#include <fcntl.h>
#include <mutex>
#include <poll.h>
#include <sys/epoll.h>
#include <unistd.h>

namespace {

/// What an application has its main loop wait with; here for one file descriptor.
class Epoll {
public:
    explicit Epoll(int fileDescriptor) {
        epoll_event readable{};
        readable.events = EPOLLIN;
        if (epoll_ctl(set, EPOLL_CTL_ADD, fileDescriptor, &readable) != 0)
            std::abort();
    }
    ~Epoll() {
        close(set);
    }
    Epoll(const Epoll&) = delete;
    Epoll& operator=(const Epoll&) = delete;

    void wait() {
        epoll_event event{};
        while (epoll_wait(set, &event, 1, -1) != 1) {
            // EINTR: somebody's signal, a debugger's for instance
        }
    }

private:
    int set = epoll_create1(EPOLL_CLOEXEC);
};

/// The other way to wait for one file descriptor.
class Poll {
public:
    explicit Poll(int fileDescriptor) : query{fileDescriptor, POLLIN, 0} {}

    void wait() {
        while (poll(&query, 1, -1) != 1) {
            // EINTR: somebody's signal, a debugger's for instance
        }
    }

private:
    pollfd query;
};

template<class Wait>
class PipeQueueWaiter : public Waiter {
public:
    void post(std::uint32_t number) override {
        KX::KXInputEvent event = Bench::makeEvent(number);
        queue.postEvent(event);
    }

    void run(Arrivals& arrivals) override {
        Wait something(queue.getReadEndPointID());
        arrivals.getReady();
        do {
            something.wait();
        } while (arrivals.take(Bench::getNumber(queue.getNextEvent())));
    }

private:
    KX::KXEventQueueAsPipe queue;
};

/// A pipe and nothing around it; one that is asked before it is read makes the very calls that the library's makes.
template<class Wait, bool isAskedFirst = false>
class BarePipeWaiter : public Waiter {
public:
    BarePipeWaiter() {
        if (pipe2(ends, O_NONBLOCK | O_CLOEXEC) != 0)
            std::abort();
    }
    ~BarePipeWaiter() override {
        close(ends[0]);
        close(ends[1]);
    }
    BarePipeWaiter(const BarePipeWaiter&) = delete;
    BarePipeWaiter& operator=(const BarePipeWaiter&) = delete;

    void post(std::uint32_t number) override {
        Bench::Record record;
        record.number = number;
        if (write(ends[1], &record, sizeof record) != sizeof record)
            std::abort();
    }

    void run(Arrivals& arrivals) override {
        Wait something(ends[0]);
        arrivals.getReady();
        do {
            something.wait();
        } while (arrivals.take(readNumber()));
    }

private:
    std::uint32_t readNumber() const {
        if (isAskedFirst) {
            pollfd query{ends[0], POLLIN, 0};
            if (poll(&query, 1, 0) != 1)
                std::abort();
        }
        Bench::Record record;
        if (read(ends[0], &record, sizeof record) != sizeof record)
            std::abort();
        return Bench::getNumber(record);
    }

    int ends[2] = {-1, -1};
};

class ConditionWaiter : public Waiter {
public:
    void post(std::uint32_t number) override {
        KX::KXInputEvent event = Bench::makeEvent(number);
        {
            const std::lock_guard<std::mutex> lock(mutex);
            events.emplace_back(event);
        }
        isFilled.notify_one();
    }

    void run(Arrivals& arrivals) override {
        arrivals.getReady();
        while (arrivals.take(Bench::getNumber(take()))) {
        }
    }

private:
    KX::KXSomeEvent take() {
        std::unique_lock<std::mutex> lock(mutex);
        isFilled.wait(lock, [this] { return !events.empty(); });
        KX::KXSomeEvent event = events.front();
        events.pop_front();
        return event;
    }

    std::mutex mutex;
    std::condition_variable isFilled;
    std::deque<KX::KXSomeEvent> events; // guarded by mutex
};

} // namespace

std::vector<Contender> getPlainContenders() {
    return {{"KXAPI", [] { return std::make_unique<PipeQueueWaiter<Epoll>>(); }},
            {"KXAPI, poll", [] { return std::make_unique<PipeQueueWaiter<Poll>>(); }},
            {"bare pipe", [] { return std::make_unique<BarePipeWaiter<Epoll>>(); }},
            {"bare pipe, asked first", [] { return std::make_unique<BarePipeWaiter<Epoll, true>>(); }},
            {"bare pipe, poll", [] { return std::make_unique<BarePipeWaiter<Poll>>(); }},
            {"condition variable", [] { return std::make_unique<ConditionWaiter>(); }}};
}
