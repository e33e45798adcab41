#include "tools/kxreplay/WholeFile.h"

#include "recording/KXRecordingReader.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

namespace Replay {

namespace {

// C streams, because std::cin does not tell that reading failed.
std::string readAll(std::FILE* file, const std::string& name) {
    std::string text;
    std::array<char, 16384> block;
    while (const std::size_t count = std::fread(block.data(), 1, block.size(), file))
        text.append(block.data(), count);
    if (std::ferror(file) != 0)
        throw KX::Recording::BadFile(name + ": " + std::strerror(errno));
    return text;
}

} // namespace

std::string readWhole(const std::string& path) {
    if (path == "-")
        return readAll(stdin, "standard input");
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), &std::fclose);
    if (!file)
        throw KX::Recording::BadFile(path + ": " + std::strerror(errno));
    return readAll(file.get(), path);
}

} // namespace Replay
