#include "tools/kxreplay/statistics/Workers.h"

#include "tools/kxreplay/OffscreenToolkit.h"
#include "tools/kxreplay/follow/GrowingInput.h"
#include "tools/kxreplay/statistics/SharedBoard.h"
#include "tools/kxreplay/statistics/SurveyMessage.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <map>
#include <optional>
#include <poll.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Replay {

namespace {

[[noreturn]] void failToStart() {
    throw std::runtime_error(std::string("a worker: ") + std::strerror(errno));
}

/// The part of a worker that runs in its own process.
class Worker {
public:
    Worker(const std::vector<std::string>& allFiles, const Survey::Options& options, SharedBoard& sharedBoard,
           std::size_t ownNumber, int ownPipe)
        : files(allFiles), board(sharedBoard), number(ownNumber), pipe(ownPipe), survey(options, [this] {
              if (!toolkit)
                  toolkit.emplace();
          }) {}

    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    void run() {
        for (;;) {
            const std::size_t index = board.take(number);
            if (index >= files.size() || !send(play(index)))
                return;
        }
    }

private:
    SurveyMessage play(std::size_t index) const {
        SurveyMessage message;
        message.index = index;
        try {
            message.counts = survey.countIn(files[index]);
        } catch (const std::exception& error) {
            message.problem = error.what();
        }
        return message;
    }

    // Nobody reads any more when the parent has gone.
    bool send(const SurveyMessage& message) const {
        const std::string bytes = message.toBytes();
        for (std::size_t written = 0; written < bytes.size();) {
            const ssize_t count = write(pipe, bytes.data() + written, bytes.size() - written);
            if (count == -1 && errno != EINTR)
                return false;
            written += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
        }
        return true;
    }

    const std::vector<std::string>& files;
    SharedBoard& board;
    const std::size_t number;
    const int pipe;
    std::optional<OffscreenToolkit> toolkit;
    const Survey survey;
};

/// The workers, as their parent sees them.
class Crew {
public:
    Crew(const std::vector<std::string>& allFiles, const Survey::Options& surveyOptions, unsigned int jobs)
        : files(allFiles), options(surveyOptions), members(jobs), board(jobs) {
        for (std::size_t number = 0; number < jobs; ++number)
            start(number);
    }

    ~Crew() {
        stop();
        for (Member& member : members)
            if (member.pipe != -1)
                end(member);
    }

    Crew(const Crew&) = delete;
    Crew& operator=(const Crew&) = delete;

    // What a worker has not told yet does not count, so it may end at any point, also while it waits for a disk.
    void stop() {
        isStopping = true;
        for (const Member& member : members)
            if (member.pipe != -1)
                kill(member.process, SIGKILL);
    }

    /// Waits for messages or for a signal, and hands out the messages.
    /// \return false when all workers have ended
    template<typename Take>
    bool waitAndTake(int interrupts, const Take& take) {
        std::vector<pollfd> watched = {{interrupts, POLLIN, 0}};
        for (const Member& member : members)
            watched.push_back({member.pipe, POLLIN, 0}); // -1 is left out
        if (poll(watched.data(), watched.size(), -1) == -1 && errno != EINTR)
            throw std::runtime_error(std::string("poll: ") + std::strerror(errno));
        bool isAnyLeft = false;
        for (std::size_t number = 0; number < members.size(); ++number) {
            if (watched[number + 1].revents != 0)
                receive(number, take);
            isAnyLeft = isAnyLeft || members[number].pipe != -1;
        }
        return isAnyLeft;
    }

private:
    struct Member {
        pid_t process = -1;
        int pipe = -1; // -1: it has ended
        std::string bytes;
        std::optional<std::size_t> lastTold; // index
    };

    void start(std::size_t number) {
        std::array<int, 2> ends{};
        if (pipe2(ends.data(), O_CLOEXEC) != 0)
            failToStart();
        const pid_t parent = getpid();
        const pid_t process = fork();
        if (process == -1) {
            close(ends[0]);
            close(ends[1]);
            failToStart();
        }
        if (process == 0) {
            close(ends[0]);
            runChild(parent, number, ends[1]);
        }
        close(ends[1]);
        members[number] = {process, ends[0], {}, std::nullopt};
    }

    // SIGINT and SIGTERM stay blocked: the parent ends its workers, and they must not outlive it.
    [[noreturn]] void runChild(pid_t parent, std::size_t number, int pipe) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() == parent)
            Worker(files, options, board, number, pipe).run();
        _exit(0);
    }

    template<typename Take>
    void receive(std::size_t number, const Take& take) {
        Member& member = members[number];
        std::array<char, 65536> block;
        const ssize_t count = read(member.pipe, block.data(), block.size());
        if (count == -1 && errno == EINTR)
            return;
        if (count > 0) {
            member.bytes.append(block.data(), static_cast<std::size_t>(count));
            while (auto message = SurveyMessage::takeFrom(member.bytes)) {
                member.lastTold = message->index;
                take(*message);
            }
            return;
        }
        const int status = end(member);
        if (status == 0 || isStopping)
            return;
        takeDeath(number, status, take);
    }

    int end(Member& member) {
        close(member.pipe);
        member.pipe = -1;
        int status = 0;
        while (waitpid(member.process, &status, 0) == -1 && errno == EINTR) {
        }
        return status;
    }

    // A recording that ends the process must not take the others with it.
    template<typename Take>
    void takeDeath(std::size_t number, int status, const Take& take) {
        const std::size_t index = board.takenBy(number);
        if (members[number].lastTold == index)
            throw std::runtime_error("a worker ends without a recording");
        if (index < files.size()) {
            const std::string how = WIFSIGNALED(status) ? "signal " + std::to_string(WTERMSIG(status))
                                                        : "status " + std::to_string(WEXITSTATUS(status));
            take(SurveyMessage{index, files[index] + ": the process that played it ended with " + how, {}});
        }
        start(number);
        members[number].lastTold = index;
    }

    const std::vector<std::string>& files;
    const Survey::Options& options;
    std::vector<Member> members;
    SharedBoard board;
    bool isStopping = false;
};

/// Tells problems in the order of the recordings, as soon as all before are known.
class OrderedProblems {
public:
    explicit OrderedProblems(const std::function<void(const std::string&)>& tellLine) : tell(tellLine) {}

    void take(std::size_t index, const std::string& problem) {
        waiting[index] = problem;
        while (!waiting.empty() && waiting.begin()->first == next) {
            tellFirst();
            ++next;
        }
    }

    void tellRest() {
        while (!waiting.empty())
            tellFirst();
    }

private:
    void tellFirst() {
        if (!waiting.begin()->second.empty())
            tell(waiting.begin()->second);
        waiting.erase(waiting.begin());
    }

    const std::function<void(const std::string&)>& tell;
    std::map<std::size_t, std::string> waiting;
    std::size_t next = 0;
};

} // namespace

SurveyResult surveyAll(const std::vector<std::string>& files, const Survey::Options& options, unsigned int jobs,
                       const std::function<void(const std::string&)>& tell, const std::function<void()>& oneDone) {
    SurveyResult result;
    InterruptSignals interrupts;
    OrderedProblems problems(tell);
    Crew crew(files, options, static_cast<unsigned int>(std::min<std::size_t>(jobs, files.size())));
    const auto take = [&](const SurveyMessage& message) {
        problems.take(message.index, message.problem);
        result.counts.add(message.counts);
        result.leftOut += message.problem.empty() ? 0 : 1;
        ++result.done;
        oneDone();
    };
    while (crew.waitAndTake(interrupts.descriptor(), take))
        if (interrupts.take() != 0)
            crew.stop();
    problems.tellRest();
    result.counts.add(Counted::LeftOut, {}, result.leftOut);
    result.signal = result.done < files.size() ? interrupts.take() : 0;
    return result;
}

} // namespace Replay
