#pragma once

#include "recording/KXRecording.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <tuple>
#include <vector>

namespace KX::Recording {

/// Entries of a recording in memory, a few bytes each. The oldest can be dropped.
///
/// A pass takes 2 bytes and a key press about 10. Appending allocates once in thousands of entries. One thread at a
/// time; a \ref Copy may be read on another thread while the log grows.
class EntryLog {
    struct Chunk;

public:
    /// A place between two entries. It stays valid until the entries behind it are dropped.
    struct Place {
        std::uint64_t chunk = 0; ///< its number; the first chunk ever has 0
        std::size_t offset = 0;
        std::uint64_t timeMs = 0; ///< of the entry before

        bool operator<(const Place& other) const {
            return std::tie(chunk, offset) < std::tie(other.chunk, other.offset);
        }
    };

    using Visit = std::function<void(const Entry&)>;

    /// What the log held at one moment between two places.
    class Copy {
    public:
        void forEach(const Visit& visit) const;

    private:
        friend class EntryLog;

        struct Part {
            std::shared_ptr<const Chunk> chunk;
            std::vector<std::shared_ptr<const Input>> objects;
            std::size_t size;
        };

        Place begin;
        std::vector<Part> parts;
    };

    /// \param entry  its time is not before that of the last one
    void append(const Entry& entry);

    /// The place of the next entry.
    Place end() const;

    /// The oldest entry that is there.
    Place begin() const;

    Copy copy(const Place& from, const Place& to) const;

    /// Drops the whole chunks before \p place, but calls \p visit with each dropped entry, oldest first.
    void dropBefore(const Place& place, const Visit& visit);

    /// Drops all, without an allocation.
    void clear();

    /// Of the memory that entries take.
    std::size_t bytes() const;

    static constexpr std::size_t chunkBytes = 16384;

private:
    Chunk& chunkFor(const Entry& entry);

    std::deque<std::shared_ptr<Chunk>> chunks;
    std::uint64_t firstChunk = 0;
    std::uint64_t lastMs = 0;
    std::size_t objectCount = 0;
};

} // namespace KX::Recording
