#include "replay/LibraryOutput.h"

#include <iostream>

namespace KX {

namespace {

class Nowhere : public std::streambuf {
protected:
    int overflow(int character) override { return traits_type::not_eof(character); }

    std::streamsize xsputn(const char* /*characters*/, std::streamsize count) override { return count; }
};

} // namespace

LibraryOutput::LibraryOutput(Goes where)
    : sink(std::make_unique<Nowhere>()), standardOutput(std::cout.rdbuf()), standardError(std::cerr.rdbuf()) {
    std::cout.rdbuf(where == Goes::Nowhere ? sink.get() : standardError);
    std::cerr.rdbuf(where == Goes::Nowhere ? sink.get() : standardError);
}

LibraryOutput::~LibraryOutput() {
    std::cout.rdbuf(standardOutput);
    std::cerr.rdbuf(standardError);
}

} // namespace KX
