#include "support/ChildProcess.h"

#include "tests/support/LineCounts.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace {

[[noreturn]] void becomeProgram(int errorOutput, const char* debugSetting, std::vector<std::string>& command) {
    dup2(errorOutput, STDERR_FILENO);
    if (debugSetting)
        setenv("KX_DEBUG", debugSetting, 1);
    else
        unsetenv("KX_DEBUG");
    std::vector<char*> arguments;
    for (std::string& argument : command)
        arguments.push_back(argument.data());
    arguments.push_back(nullptr);
    execv(arguments[0], arguments.data());
    _exit(127);
}

std::string readToEnd(int descriptor) {
    std::string text;
    char buffer[4096];
    ssize_t taken;
    while ((taken = read(descriptor, buffer, sizeof(buffer))) > 0)
        text.append(buffer, static_cast<std::size_t>(taken));
    return text;
}

/// \return the exit status; -1 when a signal ended the process
int waitForEnd(pid_t child) {
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace

ChildResult runWithDebugSetting(const char* debugSetting, std::vector<std::string> command) {
    ChildResult result;
    int ends[2];
    if (pipe(ends) != 0) {
        ADD_FAILURE() << "no pipe";
        return result;
    }
    // The child must not lose lines because this process does not get to run.
    fcntl(ends[1], F_SETPIPE_SZ, 1024 * 1024);
    const pid_t child = fork();
    if (child == 0) {
        close(ends[0]);
        becomeProgram(ends[1], debugSetting, command);
    }
    close(ends[1]);
    result.errorOutput = readToEnd(ends[0]);
    close(ends[0]);
    result.status = waitForEnd(child);
    std::istringstream stream(result.errorOutput);
    for (std::string line; std::getline(stream, line);)
        result.lines.push_back(line);
    return result;
}

int runInChild(const std::function<int()>& function) {
    const pid_t child = fork();
    if (child == 0)
        KX::test::endCopy(function());
    return waitForEnd(child);
}
