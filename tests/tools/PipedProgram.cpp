#include "PipedProgram.h"

#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

PipedProgram::PipedProgram(const char* program, const std::vector<std::string>& arguments) {
    std::vector<char*> words{const_cast<char*>(program)};
    for (const std::string& argument : arguments)
        words.push_back(const_cast<char*>(argument.c_str()));
    words.push_back(nullptr);
    std::array<int, 2> in{};
    std::array<int, 2> out{};
    EXPECT_EQ(pipe2(in.data(), O_CLOEXEC), 0);
    EXPECT_EQ(pipe2(out.data(), O_CLOEXEC), 0);
    process = fork();
    if (process == 0) {
        dup2(in[0], STDIN_FILENO);
        dup2(out[1], STDOUT_FILENO);
        execv(program, words.data());
        _exit(127);
    }
    close(in[0]);
    close(out[1]);
    input = in[1];
    output = out[0];
}

PipedProgram::~PipedProgram() {
    closeInput();
    if (process > 0)
        kill(process, SIGKILL);
    wait();
    close(output);
}

void PipedProgram::write(const std::string& text) const {
    EXPECT_EQ(::write(input, text.data(), text.size()), static_cast<ssize_t>(text.size()));
}

void PipedProgram::closeInput() {
    if (input != -1)
        close(input);
    input = -1;
}

bool PipedProgram::readMore() {
    std::array<char, 4096> block;
    const ssize_t count = read(output, block.data(), block.size());
    if (count > 0)
        unread.append(block.data(), static_cast<std::size_t>(count));
    return count > 0;
}

std::string PipedProgram::readLine() {
    constexpr int mostMs = 60000;
    for (;;) {
        const std::size_t end = unread.find('\n');
        if (end != std::string::npos) {
            const std::string line = unread.substr(0, end);
            unread.erase(0, end + 1);
            return line;
        }
        pollfd ready{output, POLLIN, 0};
        if (poll(&ready, 1, mostMs) != 1)
            return "(nothing)";
        if (!readMore())
            return "(end)";
    }
}

std::string PipedProgram::readAll() {
    while (readMore()) {
    }
    return unread;
}

void PipedProgram::raise(int signal) const {
    kill(process, signal);
}

void PipedProgram::killChild() const {
    const std::string number = std::to_string(process);
    pid_t child = 0;
    std::ifstream("/proc/" + number + "/task/" + number + "/children") >> child;
    ASSERT_GT(child, 0);
    kill(child, SIGKILL);
}

int PipedProgram::wait() {
    int status = -1;
    if (process <= 0 || waitpid(process, &status, 0) != process)
        return -1;
    process = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
}
