#pragma once

#include <memory>
#include <streambuf>

namespace KX {

/// Keeps the library's messages on std::cout and std::cerr ("Key 3, KeyCode: 2, pressed") out of the program's own
/// output while this object lives. The program itself uses C streams.
class LibraryOutput {
public:
    enum class Goes { Nowhere, ToStandardError };

    explicit LibraryOutput(Goes where);
    ~LibraryOutput();

    LibraryOutput(const LibraryOutput&) = delete;
    LibraryOutput& operator=(const LibraryOutput&) = delete;

private:
    const std::unique_ptr<std::streambuf> sink;
    std::streambuf* const standardOutput;
    std::streambuf* const standardError;
};

} // namespace KX
