#include "ToolProgram.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sys/wait.h>
#include <unistd.h>

namespace {

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

ToolProgram::ToolProgram(const char* program, const TestFolder& testFolder,
                         const std::vector<std::string>& arguments, const std::string& input)
    : folder(testFolder) {
    const std::string inputFile = folder.write("input", input);
    const std::string outputFile = folder / "output";
    const std::string errorFile = folder / "errors";
    std::vector<char*> words{const_cast<char*>(program)};
    for (const std::string& argument : arguments)
        words.push_back(const_cast<char*>(argument.c_str()));
    words.push_back(nullptr);
    process = fork();
    if (process == 0) {
        redirect(STDIN_FILENO, inputFile, O_RDONLY);
        redirect(STDOUT_FILENO, outputFile, O_WRONLY | O_CREAT | O_TRUNC);
        redirect(STDERR_FILENO, errorFile, O_WRONLY | O_CREAT | O_TRUNC);
        execv(program, words.data());
        _exit(127);
    }
}

ToolProgram::~ToolProgram() {
    wait();
}

int ToolProgram::wait() {
    int status = -1;
    if (process <= 0 || waitpid(process, &status, 0) != process)
        return -1;
    process = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string ToolProgram::output() const {
    return readFile(folder / "output");
}

std::string ToolProgram::errors() const {
    return readFile(folder / "errors");
}
