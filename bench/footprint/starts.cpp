// The smallest program that has some libraries loaded, and does nothing with them.

#include "Mark.h"

int main() {
    footprintMark();
    return printMap() ? 0 : 1;
}
