#include "tools/kxreplay/statistics/FileNames.h"

#include "tools/kxreplay/WholeFile.h"

#include <algorithm>

namespace Replay {

std::vector<std::string> readFileNames(const std::string& list) {
    const std::string text = readWhole(list);
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
