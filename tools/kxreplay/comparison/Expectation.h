#pragma once

#include <string>
#include <string_view>

namespace Replay {

/// The expected output of a play, from a file.
class Expectation {
public:
    /// An empty file expects nothing to be printed.
    /// \throws BadInput  the file cannot be read, or standard input is empty
    explicit Expectation(std::string fileName);

    bool isMetBy(std::string_view printed) const;

    /// The unified diff from the file to \p printed; empty when they are equal.
    std::string differenceFrom(std::string_view printed) const;

private:
    const std::string name;
    const std::string text;
};

} // namespace Replay
