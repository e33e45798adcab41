#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <string>

namespace KX {

/// The sections of the debug service: names, keys and levels.
///
/// Works from the first static initialiser to the last static destructor of any library. Keys count from 1, so
/// the 0 of a key that its owner has not fetched yet is no section's.
class DebugSections {
public:
    DebugSections() = delete;

    /// \return the key of the section, a new one for a new name. Takes a lock.
    static unsigned int insert(const std::string& name);

    /// Whether a message is to be shown. Takes no lock and allocates nothing for a key from \ref insert.
    static bool isShown(int level, unsigned int key) {
        // Nearly every message is a trace that nobody asked for, whatever its section.
        if (level > highestLevel.load(std::memory_order_relaxed))
            return false;
        const Section* const section = find(key);
        const int shownLevel = section ? section->level : getLevelOfNoSection();
        // Level 0 is not a message's, but nobody should lose an error because of it.
        return level <= shownLevel && shownLevel > 0;
    }

    /// Valid for ever; "?" for a key that no section has. Takes no lock.
    static const char* getName(unsigned int key);

private:
    struct Section {
        std::string name;
        int level = 1;
    };

    static constexpr std::size_t sectionsPerBlock = 64;
    static constexpr std::size_t mostBlocks = 1024;
    using Block = std::array<Section, sectionsPerBlock>;

    /// Null for a key that no section has.
    static const Section* find(unsigned int key) {
        if (key == 0 || key > sectionCount.load(std::memory_order_acquire))
            return nullptr;
        const std::size_t index = key - 1;
        return &(*blocks[index / sectionsPerBlock].load(std::memory_order_acquire))[index % sectionsPerBlock];
    }

    static int getLevelOfNoSection();

    /// Where a key leads to. Plain zeros before the first initialiser runs and never destroyed. A block is published
    /// before its first key is given away, and a section is complete before its key is, so whoever has a key by
    /// proper means may read; a guessed key is kept out by the count.
    static std::array<std::atomic<Block*>, mostBlocks> blocks;
    static std::atomic<unsigned int> sectionCount;
    /// No section shows more. Before the levels are known, any might.
    static std::atomic<int> highestLevel;

    struct Registry;
};

} // namespace KX
