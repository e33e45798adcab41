#pragma once

#include "tools/arguments/BadInput.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Arguments {

/// What --help and --version tell, besides the options. Lines have at most 80 columns.
struct Program {
    std::string name;
    std::string version;
    std::string description; ///< stands above the options
    std::string examples;    ///< stands below them
};

struct Option {
    std::string names;       ///< "--json", or "-v,--version"
    std::string placeholder; ///< of its value in the help, FILE say; empty: a switch
    std::string help;        ///< one sentence, which is broken into lines
};

/// The grammar of a command line, which all programs of the project share:
///
/// - `--name value` and `--name=value` are the same.
/// - `--` ends the options. A single dash is an operand.
/// - No option may be given twice.
/// - `--help` and `--version` before `--` win over everything, bad arguments too.
///
/// Options are read and told by their order on the command line. Each adder takes what is called with a value; it
/// throws BadInput with the reason when the value is bad.
class Grammar {
public:
    using TakeText = std::function<void(const std::string&)>;
    using TakeNumber = std::function<void(std::uint32_t)>;

    /// Whether messages tell the number of the bad argument; 1 is the first after the program's name. A toolkit that
    /// takes its own arguments away makes the numbers wrong.
    enum class Numbers { AreTold, AreNotTold };

    explicit Grammar(Program program, Numbers numbers = Numbers::AreTold);
    ~Grammar();

    Grammar(const Grammar&) = delete;
    Grammar& operator=(const Grammar&) = delete;

    /// The options from here on stand below this line in the help.
    void beginGroup(const std::string& title);

    void addSwitch(const Option& option, std::function<void()> take);
    void addSwitch(const Option& option, bool& target);

    /// \param what  the value's name when it is missing: "the number"
    void addValue(const Option& option, const std::string& what, TakeText take);

    /// A name that must not be empty. \param what  "file", "folder"
    void addName(const Option& option, const std::string& what, TakeText take);
    void addName(const Option& option, const std::string& what, std::string& target);

    void addNumber(const Option& option, std::uint32_t least, std::uint32_t greatest, TakeNumber take);

    enum class Times { Once, OnceOrMore, AnyNumber };

    /// An argument that is no option. Operands are taken in the order of these calls.
    /// \param what  its name when it is missing: "the recording"
    void addOperand(const std::string& what, TakeText take, Times times = Times::Once);

    /// Two options that do not go together.
    void exclude(const std::string& one, const std::string& other);

    /// \param first  number of the first argument
    /// \return what to print on standard output instead of running: help or version
    /// \throws BadInput  one line "program: argument 2: why"
    std::optional<std::string> read(const std::vector<std::string>& arguments, std::size_t first = 1);

    /// The help or the version, if \p arguments ask for it.
    std::optional<std::string> information(const std::vector<std::string>& arguments);

private:
    class Reader;
    const std::unique_ptr<Reader> reader;
};

/// Only digits, and within the range.
std::optional<std::uint32_t> parseWhole(const std::string& text, std::uint32_t least, std::uint32_t greatest);

/// Digits, perhaps with a point and more of them, and within the range.
std::optional<double> parseDecimal(const std::string& text, double least, double greatest);

/// An argument in a message: always one readable line.
std::string quoted(const std::string& argument);

/// What is missing, and where help is: "program: the file is missing; program --help shows how to call it".
std::string missing(const std::string& program, const std::string& what);

} // namespace Arguments
