#pragma once

#include <ostream>
#include <sstream>
#include <string>

namespace KX::test {

/// Captures what this process writes to a stream. Fast enough for a hundred thousand steps.
class ScopedStream {
public:
    explicit ScopedStream(std::ostream& takenStream) : stream(takenStream), original(stream.rdbuf(&buffer)) {}

    ~ScopedStream() { stream.rdbuf(original); }

    ScopedStream(const ScopedStream&) = delete;
    ScopedStream& operator=(const ScopedStream&) = delete;

    /// What was written since the last call.
    std::string take() {
        std::string text = buffer.str();
        if (!text.empty())
            buffer.str("");
        return text;
    }

private:
    std::ostream& stream;
    std::stringbuf buffer;
    std::streambuf* original;
};

} // namespace KX::test
