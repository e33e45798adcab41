#include "Mark.h"

#include <cstdio>

// In a file of its own, so that the compiler does not see that it does nothing.
extern "C" void footprintMark() {}

bool printMap() {
    std::FILE* map = std::fopen("/proc/self/maps", "r");
    if (!map) {
        std::perror("/proc/self/maps");
        return false;
    }
    char line[1024];
    while (std::fgets(line, sizeof line, map))
        std::fputs(line, stdout);
    std::fclose(map);
    return std::fflush(stdout) == 0;
}
