#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

namespace Arguments {

/// The input is bad; the text says why in one line. The program ends with status 2.
class BadInput : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Reads the words of a command line and reports a bad one by its number.
class ArgumentReader {
public:
    /// \param allArguments  without the name of the program; must outlive the reader
    ArgumentReader(std::string programName, const std::vector<std::string>& allArguments);

    bool isAtEnd() const;

    /// The next argument.
    /// \param what  its name in the message when it is missing
    /// \throws BadInput
    const std::string& take(const std::string& what);

    /// Refuses the last argument that was taken.
    [[noreturn]] void refuse(const std::string& reason) const;

    /// Refuses the last argument with its text: "unknown option 'text'".
    [[noreturn]] void refuseUnknown(const std::string& what) const;

    /// A single dash is not an option: it stands for standard input.
    static bool isOption(const std::string& text);

private:
    const std::string program;
    const std::vector<std::string>& arguments;
    std::size_t next = 0;
};

} // namespace Arguments
