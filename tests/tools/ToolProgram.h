#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

/// A folder for one test, removed at its end.
class TestFolder {
public:
    TestFolder();
    ~TestFolder();
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;

    std::string operator/(const std::string& name) const;
    std::string write(const std::string& name, const std::string& text) const;

private:
    std::string folder;
};

/// A run of a program of the project.
class ToolProgram {
public:
    /// \param program  its path
    /// \param input    the content of its standard input
    ToolProgram(const char* program, const TestFolder& testFolder, const std::vector<std::string>& arguments,
                const std::string& input = std::string());
    ~ToolProgram();
    ToolProgram(const ToolProgram&) = delete;
    ToolProgram& operator=(const ToolProgram&) = delete;

    /// \return its exit status; -1 when a signal ended it
    int wait();

    std::string output() const;
    std::string errors() const;

private:
    const TestFolder& folder;
    pid_t process = -1;
};
