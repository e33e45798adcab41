#include "platform/linux/utility/KXDebugSections.h"

#include "platform/linux/utility/KXDebugLevels.h"
#include "platform/linux/utility/KXDebugOutput.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <map>
#include <mutex>
#include <vector>

namespace KX {

namespace {

struct Section {
    std::string name;
    int level = 1;
};

const std::size_t sectionsPerBlock = 64;
const std::size_t mostBlocks = 1024;

using Block = std::array<Section, sectionsPerBlock>;

/// Where a key leads to. Plain zeros before the first initialiser runs and never destroyed. A block is published
/// before its first key is given away, and a section is complete before its key is, so whoever has a key by
/// proper means may read; a guessed key is kept out by the count.
std::array<std::atomic<Block*>, mostBlocks> blocks;
std::atomic<unsigned int> sectionCount;

const Section* findSection(unsigned int key) {
    if (key == 0 || key > sectionCount.load(std::memory_order_acquire)) {
        return nullptr;
    }
    const std::size_t index = key - 1;
    return &(*blocks[index / sectionsPerBlock].load(std::memory_order_acquire))[index % sectionsPerBlock];
}

KXDebugLevels readLevels() {
    const char* const setting = std::getenv("KX_DEBUG");
    std::vector<std::string> mistakes;
    KXDebugLevels levels(setting != nullptr ? setting : "", mistakes);
    for (std::string& mistake : mistakes) {
        KXDebugOutput::writeLine(mistake);
    }
    return levels;
}

/// What registering needs: made by the first call and never destroyed, because initialisers and destructors of
/// static objects of any library may come here.
struct Registry {
    static Registry& get() {
        static Registry* const registry = new Registry;
        return *registry;
    }

    const KXDebugLevels levels = readLevels(); // never changes, so read without the lock
    std::mutex lock;
    std::map<std::string, unsigned int> keys; // guarded by lock
};

/// Apart, so that who asks for a section that exists does not pay for making the registry.
[[gnu::noinline]] int getLevelOfNoSection() {
    return Registry::get().levels.getLevel("?");
}

} // namespace

unsigned int KXDebugSections::insert(const std::string& name) {
    Registry& registry = Registry::get();
    const std::lock_guard<std::mutex> guard(registry.lock);
    const auto known = registry.keys.find(name);
    if (known != registry.keys.end()) {
        return known->second;
    }
    const std::size_t index = sectionCount.load();
    if (index == sectionsPerBlock * mostBlocks) {
        return 0; // still prints, under "?"
    }
    std::atomic<Block*>& block = blocks[index / sectionsPerBlock];
    if (block.load() == nullptr) {
        block = new Block;
    }
    Section& section = (*block.load())[index % sectionsPerBlock];
    section.name = name;
    section.level = registry.levels.getLevel(name);
    const unsigned int key = static_cast<unsigned int>(index) + 1;
    registry.keys.emplace(name, key);
    sectionCount.store(key, std::memory_order_release);
    return key;
}

bool KXDebugSections::isShown(int level, unsigned int key) {
    const Section* const section = findSection(key);
    const int shownLevel = section != nullptr ? section->level : getLevelOfNoSection();
    // Level 0 is not a message's, but nobody should lose an error because of it.
    return std::max(level, 1) <= shownLevel;
}

const char* KXDebugSections::getName(unsigned int key) {
    const Section* const section = findSection(key);
    return section != nullptr ? section->name.c_str() : "?";
}

} // namespace KX
