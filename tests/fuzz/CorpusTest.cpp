// corpus_test NAME FOLDER: repeats a fuzzer's check on every file of its corpus, so that old findings stay mended.

#include "Targets.h"

#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

std::string contentOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

int countProblems(const std::string& name, const std::filesystem::path& folder) {
    int files = 0;
    int problems = 0;
    for (const auto& file : std::filesystem::directory_iterator(folder)) {
        const std::string content = contentOf(file.path());
        const std::string problem =
            content.size() == file.file_size() ? Fuzz::problemOf(name, content) : "it cannot be read";
        if (!problem.empty())
            std::printf("%s: %s\n", file.path().c_str(), problem.c_str());
        problems += problem.empty() ? 0 : 1;
        ++files;
    }
    std::printf("%d of %d files of %s have a problem\n", problems, files, name.c_str());
    return files > 0 ? problems : 1;
}

} // namespace

int main(int argc, char** argv) {
    try {
        return argc == 3 && countProblems(argv[1], argv[2]) == 0 ? 0 : 1;
    } catch (const std::exception& error) {
        std::printf("%s\n", error.what());
        return 1;
    }
}
