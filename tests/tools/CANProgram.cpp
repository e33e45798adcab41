#include "CANProgram.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <linux/can.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

const int longForAnyMachineMs = 20000;

std::string readFile(const std::string& path) {
    std::ifstream file(path);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

void redirect(int descriptor, const std::string& path, int flags) {
    const int file = open(path.c_str(), flags, 0600);
    dup2(file, descriptor);
    close(file);
}

} // namespace

TestFolder::TestFolder() {
    char name[] = "/tmp/kx_tool_XXXXXX";
    EXPECT_NE(mkdtemp(name), nullptr);
    folder = name;
}

TestFolder::~TestFolder() {
    std::filesystem::remove_all(folder);
}

std::string TestFolder::operator/(const std::string& name) const {
    return folder + "/" + name;
}

std::string TestFolder::write(const std::string& name, const std::string& text) const {
    const std::string path = *this / name;
    std::ofstream(path) << text;
    return path;
}

BusSocket::BusSocket(const std::string& path) : descriptor(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    EXPECT_EQ(bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
}

BusSocket::~BusSocket() {
    close(descriptor);
}

ssize_t BusSocket::receive(can_frame& frame) const {
    pollfd waiting{descriptor, POLLIN, 0};
    return poll(&waiting, 1, longForAnyMachineMs) == 1
               ? recv(descriptor, &frame, sizeof(frame), MSG_TRUNC | MSG_DONTWAIT)
               : -1;
}

bool BusSocket::isEmpty() const {
    pollfd waiting{descriptor, POLLIN, 0};
    return poll(&waiting, 1, 0) == 0;
}

CANProgram::CANProgram(const TestFolder& testFolder, const std::vector<std::string>& arguments,
                       const std::string& input)
    : folder(testFolder) {
    const std::string inputFile = folder.write("input", input);
    const std::string outputFile = folder / "output";
    const std::string errorFile = folder / "errors";
    std::vector<char*> words{const_cast<char*>(KXCAN)};
    for (const std::string& argument : arguments) {
        words.push_back(const_cast<char*>(argument.c_str()));
    }
    words.push_back(nullptr);
    process = fork();
    if (process == 0) {
        redirect(STDIN_FILENO, inputFile, O_RDONLY);
        redirect(STDOUT_FILENO, outputFile, O_WRONLY | O_CREAT | O_TRUNC);
        redirect(STDERR_FILENO, errorFile, O_WRONLY | O_CREAT | O_TRUNC);
        execv(KXCAN, words.data());
        _exit(127);
    }
}

CANProgram::~CANProgram() {
    wait();
}

int CANProgram::wait() {
    int status = -1;
    if (process <= 0 || waitpid(process, &status, 0) != process) {
        return -1;
    }
    process = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string CANProgram::output() const {
    return readFile(folder / "output");
}

std::string CANProgram::errors() const {
    return readFile(folder / "errors");
}
