// The smallest program that has the library loaded, and does nothing with it.

#include "Mark.h"

int main() {
    footprintMark();
    return printMap() ? 0 : 1;
}
