#include "recording/KXKeyLayout.h"

#include "recording/format/Text.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <fstream>
#include <locale>
#include <set>
#include <sstream>
#include <stdexcept>
#include <utility>
#include <vector>

namespace KX::KeyLayout {

namespace {

using Words = std::vector<std::string>;

constexpr int decimalBase = 10;
constexpr int hexadecimalBase = 16;

Words wordsOf(const std::string& line) {
    std::istringstream input(line.substr(0, line.find('#')));
    input.imbue(std::locale::classic()); // a program may have another one
    input.exceptions(std::ios::badbit);  // without memory: otherwise the last words would be missing
    Words words;
    for (std::string word; input >> word;)
        words.push_back(word);
    return words;
}

template<typename Number>
Number numberOf(const std::string& word, int base) {
    Number number{};
    const char* const end = word.data() + word.size();
    const auto [stopped, error] = std::from_chars(word.data(), end, number, base);
    if (error != std::errc() || stopped != end)
        throw std::runtime_error(Text::quoted(word) + " is not a " +
                                 (base == decimalBase ? "decimal" : "hexadecimal") + " number that fits");
    return number;
}

// Pairs of a name and a number. Each name may occur once.
class Pairs {
public:
    Pairs(const Words& allWords, std::size_t firstWord) : words(allWords), next(firstWord) {}

    // The next name; null at the end.
    const std::string* takeName() {
        if (next == words.size())
            return nullptr;
        const std::string& name = words[next++];
        if (!names.insert(name).second)
            throw std::runtime_error(Text::quoted(name) + " is there twice");
        return &name;
    }

    template<typename Number>
    Number takeNumber(int base) {
        if (next == words.size())
            throw std::runtime_error("a number is missing after " + Text::quoted(words.back()));
        return numberOf<Number>(words[next++], base);
    }

    void mustHave(std::initializer_list<const char*> needed) const {
        for (const char* const name : needed)
            if (names.count(name) == 0)
                throw std::runtime_error(Text::quoted(name) + " is missing");
    }

private:
    const Words& words;
    std::size_t next;
    std::set<std::string> names;
};

class Reader {
public:
    explicit Reader(std::string fileName) : name(std::move(fileName)) {}

    CANRemoteOptions read(std::istream& input, const ToolkitKeys& toolkitKeys) {
        try {
            for (std::string line; nextLine(input, line);)
                readLine(wordsOf(line));
        } catch (const std::runtime_error& error) {
            fail(lineNumber, error.what());
        }
        if (input.bad())
            throw std::runtime_error(name + ": " + Text::whyUnreadable());
        if (const auto problem = check(layout, toolkitKeys))
            fail(lineOfEntry.at(static_cast<std::size_t>(problem->entry)), problem->text);
        return layout;
    }

private:
    bool nextLine(std::istream& input, std::string& line) {
        ++lineNumber;
        return Text::readLine(input, line);
    }

    [[noreturn]] void fail(int line, const std::string& what) const {
        throw std::runtime_error(name + ":" + std::to_string(line) + ": " + what);
    }

    void readLine(const Words& words) {
        if (words.empty())
            return;
        if (words[0] == "key")
            readKey(words);
        else if (words[0] == "encoder")
            readEncoder(words);
        else
            throw std::runtime_error(Text::quoted(words[0]) + " is neither 'key' nor 'encoder'");
    }

    void readKey(const Words& words) {
        if (words.size() < 2)
            throw std::runtime_error("the number of the key is missing");
        KeyOptionsCANRemote key;
        key.keyNumber = numberOf<int>(words[1], decimalBase);
        if (key.keyNumber < 1 || key.keyNumber > keyCount)
            throw std::runtime_error("key " + std::to_string(key.keyNumber) +
                                     ": its number is not in the range 1 to 16");
        // An entry is placed by its number, so the order of the lines does not change the layout.
        const int entry = key.keyNumber - 1;
        if (isUsed(layout.keys[entry]))
            throw std::runtime_error("key " + std::to_string(key.keyNumber) + ": it is there twice");
        Pairs pairs(words, 2);
        while (const std::string* const what = pairs.takeName())
            setField(key, *what, pairs);
        pairs.mustHave({"code", "byte", "bit", "id"});
        layout.keys[entry] = key;
        lineOfEntry[static_cast<std::size_t>(entry)] = lineNumber;
    }

    static void setField(KeyOptionsCANRemote& key, const std::string& what, Pairs& pairs) {
        if (what == "code")
            key.keyCode = pairs.takeNumber<int>(decimalBase);
        else if (what == "byte")
            key.byteIndex = pairs.takeNumber<int>(decimalBase);
        else if (what == "bit")
            key.bitIndex = pairs.takeNumber<int>(decimalBase);
        else if (what == "id")
            key.canId = static_cast<int>(pairs.takeNumber<std::uint32_t>(hexadecimalBase));
        else
            throw std::runtime_error(Text::quoted(what) + " is nothing that a key has");
    }

    void readEncoder(const Words& words) {
        if (lineOfEntry[encoderEntry] != 0)
            throw std::runtime_error("the encoder is there twice");
        Pairs pairs(words, 1);
        bool hasOrder = false;
        while (const std::string* const what = pairs.takeName()) {
            const bool isOrder = *what == "little" || *what == "big";
            if (isOrder && std::exchange(hasOrder, true))
                throw std::runtime_error("it is either 'little' or 'big'");
            if (isOrder)
                layout.encoderLittleEndian = *what == "little";
            else
                setEncoderField(*what, pairs);
        }
        pairs.mustHave({"id", "byte"});
        lineOfEntry[encoderEntry] = lineNumber;
    }

    void setEncoderField(const std::string& what, Pairs& pairs) {
        if (what == "id")
            setEncoderIdentifier(pairs.takeNumber<std::uint32_t>(hexadecimalBase));
        else if (what == "byte")
            layout.encoderByteIndex = pairs.takeNumber<std::uint8_t>(decimalBase);
        else if (what == "mask")
            layout.encoderMask = pairs.takeNumber<std::uint32_t>(hexadecimalBase);
        else if (what == "up")
            layout.encoderUpKeyCode = pairs.takeNumber<int>(decimalBase);
        else if (what == "down")
            layout.encoderDownKeyCode = pairs.takeNumber<int>(decimalBase);
        else
            throw std::runtime_error(Text::quoted(what) + " is nothing that an encoder has");
    }

    void setEncoderIdentifier(std::uint32_t identifier) {
        layout.encoderCANId = identifier;
        // An identifier that means "no encoder" must not pass unchecked.
        if (!hasEncoder(layout))
            throw std::runtime_error("encoder: identifier FFFFFFFF has more than 29 bits");
    }

    const std::string name;
    int lineNumber = 0;
    CANRemoteOptions layout = empty();
    std::array<int, keyCount + 1> lineOfEntry{};
};

} // namespace

CANRemoteOptions read(std::istream& input, const std::string& name, const ToolkitKeys& toolkitKeys) {
    return Reader(name).read(input, toolkitKeys);
}

CANRemoteOptions readFile(const std::string& path, const ToolkitKeys& toolkitKeys) {
    std::ifstream file(path);
    if (!file)
        throw std::runtime_error(path + ": " + std::strerror(errno));
    return read(file, path, toolkitKeys);
}

std::string write(const CANRemoteOptions& layout) {
    std::ostringstream text;
    text.imbue(std::locale::classic()); // that of the program may group digits, and no reader takes that
    text.exceptions(std::ios::badbit);  // without memory: otherwise the last lines would be missing
    for (const KeyOptionsCANRemote& key : layout.keys) {
        if (isUsed(key))
            text << "key " << key.keyNumber << " code " << key.keyCode << " byte " << key.byteIndex << " bit "
                 << key.bitIndex << " id " << std::hex << std::uppercase << key.canId << std::dec << '\n';
    }
    if (hasEncoder(layout))
        text << "encoder id " << std::hex << std::uppercase << layout.encoderCANId << std::dec << " byte "
             << static_cast<int>(layout.encoderByteIndex) << (layout.encoderLittleEndian ? " little" : " big")
             << " mask " << std::hex << layout.encoderMask << std::dec << " up " << layout.encoderUpKeyCode
             << " down " << layout.encoderDownKeyCode << '\n';
    return text.str();
}

} // namespace KX::KeyLayout
