#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

namespace Arguments {

/// What is wrong with the input, on one line: the program ends with status 2.
class BadInput : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Goes through the words of a command line and tells of a bad one by its number.
class ArgumentReader {
public:
    /// \param allArguments  without the program's name; must outlive the reader
    ArgumentReader(std::string programName, const std::vector<std::string>& allArguments);

    bool isAtEnd() const;

    /// \param what  is told to be missing at the end
    /// \throws BadInput
    const std::string& take(const std::string& what);

    /// Refuses the argument that was taken last.
    [[noreturn]] void refuse(const std::string& reason) const;

    /// The same, by its text: "unknown option 'text'".
    [[noreturn]] void refuseUnknown(const std::string& what) const;

    /// A dash alone is none: it stands for standard input.
    static bool isOption(const std::string& text);

private:
    const std::string program;
    const std::vector<std::string>& arguments;
    std::size_t next = 0;
};

} // namespace Arguments
