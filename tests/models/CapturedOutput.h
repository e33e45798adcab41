#pragma once

#include <cstdio>
#include <iostream>
#include <string>
#include <unistd.h>

namespace KX::test {

/// Captures what a step writes to standard output or standard error. All steps use one file: a new file takes
/// longer than a step.
class CapturedOutput {
public:
    CapturedOutput(int descriptor) : captured(descriptor), original(dup(descriptor)), file(std::tmpfile()) {}

    ~CapturedOutput() {
        close(original);
        std::fclose(file);
    }

    CapturedOutput(const CapturedOutput&) = delete;
    CapturedOutput& operator=(const CapturedOutput&) = delete;

    void begin() {
        flush();
        dup2(fileno(file), captured);
    }

    std::string end() {
        flush();
        dup2(original, captured);
        std::string text;
        char block[4096];
        ssize_t length = 0;
        while ((length = pread(fileno(file), block, sizeof block, static_cast<off_t>(text.size()))) > 0)
            text.append(block, static_cast<std::size_t>(length));
        const bool isEmptied = ftruncate(fileno(file), 0) == 0 && lseek(fileno(file), 0, SEEK_SET) == 0;
        return isEmptied ? text : text + "(the file behind the captured output cannot be emptied)";
    }

private:
    static void flush() {
        std::cout.flush();
        std::cerr.flush();
        std::fflush(nullptr);
    }

    int captured;
    int original;
    std::FILE* file;
};

} // namespace KX::test
