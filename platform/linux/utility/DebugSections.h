#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <string>

namespace KX {

/// The sections of the debug service: names, keys and levels.
///
/// Works from the first static initialiser to the last static destructor of any library. Keys count from 1. The
/// key of an owner that has not registered its section yet is 0, which is no section's.
class DebugSections {
public:
    DebugSections() = delete;

    /// \return the key of the section, a new one for a new name. Takes a lock.
    static unsigned int insert(const std::string& name);

    /// Whether a message is to be shown. Takes no lock and allocates nothing for a key from \ref insert.
    static bool isShown(int level, unsigned int key) {
        // Nearly every message is a trace, and mostly no section shows traces.
        if (level > highestLevel.load(std::memory_order_relaxed))
            return false;
        const Section* const section = find(key);
        const int shownLevel = section ? section->level : getLevelOfNoSection();
        // A message of level 0, which is a mistake, is shown like an error.
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

    /// The sections by key. Zero-initialised before the first initialiser runs, and never destroyed. A block and a
    /// section are complete before their keys are handed out, so they are read without a lock. The count rejects
    /// keys that were not handed out.
    static std::array<std::atomic<Block*>, mostBlocks> blocks;
    static std::atomic<unsigned int> sectionCount;
    /// No section shows a higher level. The largest number until the levels are known.
    static std::atomic<int> highestLevel;

    struct Registry;
};

} // namespace KX
