#pragma once

#include <streambuf>

namespace Terminal {

/// Lets lines on std::cout come whole, whichever threads write what else to standard output in the meantime.
///
/// The library writes its lines in pieces, on its worker thread too, while the terminal prints events: without
/// this an event could stand in the middle of such a line. From creation to destruction; no other thread may
/// write meanwhile at either moment.
class WholeLines : private std::streambuf {
public:
    WholeLines();
    ~WholeLines() override;

    WholeLines(const WholeLines&) = delete;
    WholeLines& operator=(const WholeLines&) = delete;

private:
    int_type overflow(int_type character) override;
    std::streamsize xsputn(const char* text, std::streamsize size) override;
    int sync() override;

    std::streambuf* replaced;
};

} // namespace Terminal
