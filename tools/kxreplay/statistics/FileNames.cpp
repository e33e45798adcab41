#include "tools/kxreplay/statistics/FileNames.h"

#include "tools/arguments/BadInput.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

namespace Replay {

namespace {

std::string readAll(std::FILE* file, const std::string& name) {
    std::string text;
    std::array<char, 16384> block;
    while (const std::size_t count = std::fread(block.data(), 1, block.size(), file))
        text.append(block.data(), count);
    if (std::ferror(file) != 0)
        throw Arguments::BadInput(name + ": " + std::strerror(errno));
    return text;
}

std::string readList(const std::string& list) {
    if (list == "-")
        return readAll(stdin, "standard input");
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(list.c_str(), "rb"), &std::fclose);
    if (!file)
        throw Arguments::BadInput(list + ": " + std::strerror(errno));
    return readAll(file.get(), list);
}

} // namespace

std::vector<std::string> readFileNames(const std::string& list) {
    const std::string text = readList(list);
    const char separator = text.find('\0') != std::string::npos ? '\0' : '\n';
    std::vector<std::string> names;
    for (auto begin = text.begin(); begin != text.end();) {
        const auto end = std::find(begin, text.end(), separator);
        if (begin != end)
            names.emplace_back(begin, end);
        begin = end == text.end() ? end : end + 1;
    }
    return names;
}

} // namespace Replay
