#include "terminal/WholeLines.h"

#include <cstdio>
#include <iostream>
#include <string>

namespace Terminal {

namespace {

thread_local std::string beginning; // of a line whose end has not been written yet

} // namespace

WholeLines::WholeLines() : replaced(std::cout.rdbuf(this)) {}

WholeLines::~WholeLines() {
    sync();
    std::cout.rdbuf(replaced);
}

WholeLines::int_type WholeLines::overflow(int_type character) {
    if (!traits_type::eq_int_type(character, traits_type::eof()))
        beginning.push_back(traits_type::to_char_type(character));
    return traits_type::not_eof(character);
}

std::streamsize WholeLines::xsputn(const char* text, std::streamsize size) {
    beginning.append(text, static_cast<std::size_t>(size));
    return size;
}

// std::endl comes here. A reader that has gone away is nothing that the library could do anything about.
int WholeLines::sync() {
    std::fwrite(beginning.data(), 1, beginning.size(), stdout);
    std::fflush(stdout);
    beginning.clear();
    return 0;
}

} // namespace Terminal
