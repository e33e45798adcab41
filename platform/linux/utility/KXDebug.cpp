#include "platform/KXDebug.h"

#include "platform/linux/utility/DebugOutput.h"
#include "platform/linux/utility/DebugSections.h"

#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <new>
#include <vector>

namespace KX {

namespace {

/// Writes the text behind the prefix.
/// \return characters of the whole text, also when \p buffer is too small for them; negative when the format
///         does not suit its arguments
int formatText(char* buffer, std::size_t size, const char* format, std::va_list arguments) {
    std::va_list copy;
    va_copy(copy, arguments);
    const int length = std::vsnprintf(buffer, size, format, copy);
    va_end(copy);
    return length;
}

/// A message as it is printed. Most fit into the buffer inside and need no memory.
class Message {
public:
    void print(int level, unsigned int key, const char* format, std::va_list arguments) {
        char* line = fixed;
        std::size_t size = sizeof(fixed);
        std::size_t length = compose(line, size, level, key, format, arguments);
        if (length >= size) {
            try {
                grown.resize(length + 1);
                line = grown.data();
                size = grown.size();
                compose(line, size, level, key, format, arguments);
            } catch (const std::bad_alloc&) {
                // Its beginning is better than nothing.
                length = size - 1;
            }
        }
        DebugOutput::writeLine(line, withoutLineEnd(line, length));
    }

private:
    /// \return characters of the whole line
    static std::size_t compose(char* line, std::size_t size, int level, unsigned int key, const char* format,
                               std::va_list arguments) {
        const int prefix = std::snprintf(line, size, "[%s:%d] ", DebugSections::getName(key), level);
        const std::size_t begin = prefix > 0 ? static_cast<std::size_t>(prefix) : 0;
        // A name that fills the buffer leaves no room. The text is then only measured.
        const bool hasRoom = begin < size;
        const int text =
            formatText(hasRoom ? line + begin : nullptr, hasRoom ? size - begin : 0, format, arguments);
        return begin + (text > 0 ? static_cast<std::size_t>(text) : 0);
    }

    static std::size_t withoutLineEnd(const char* line, std::size_t length) {
        return length > 0 && line[length - 1] == '\n' ? length - 1 : length;
    }

    char fixed[512];
    std::vector<char> grown;
};

/// Not inlined: a message that is not shown must not pay for the large stack frame.
[[gnu::noinline]] void printMessage(int level, unsigned int key, const char* format, std::va_list arguments) {
    // Callers often look at errno after a message.
    const int error = errno;
    Message().print(level, key, format, arguments);
    errno = error;
}

} // namespace

unsigned int KXDebug::insertNewDebugSection(const std::string& name) {
    return DebugSections::insert(name);
}

void KXDebug::debugPrintError(int level, unsigned int key, const char* format, ...) {
    if (!DebugSections::isShown(level, key))
        return;
    std::va_list arguments;
    va_start(arguments, format);
    printMessage(level, key, format, arguments);
    va_end(arguments);
}

} // namespace KX
