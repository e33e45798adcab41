#pragma once

#include <stdexcept>

namespace Arguments {

/// The input is bad; the text says why in one line. The program ends with \ref badInputStatus.
class BadInput : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

constexpr int failureStatus = 1; ///< the program failed underway
constexpr int badInputStatus = 2;

} // namespace Arguments
