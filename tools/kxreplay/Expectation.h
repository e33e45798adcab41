#pragma once

#include <string>
#include <string_view>

namespace Replay {

/// What a play is expected to print, from a file.
class Expectation {
public:
    /// \throws BadInput  the file cannot be read
    explicit Expectation(std::string fileName);

    bool isMetBy(std::string_view printed) const;

    /// What differs, as a unified diff from the file to what was printed; empty when nothing does.
    std::string differenceFrom(std::string_view printed) const;

private:
    const std::string name;
    const std::string text;
};

} // namespace Replay
