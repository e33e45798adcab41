#include "platform/linux/utility/DebugSections.h"

#include "platform/KXLocks.h"
#include "platform/linux/utility/DebugLevels.h"
#include "platform/linux/utility/DebugOutput.h"

#include <cstdlib>
#include <limits>
#include <map>
#include <vector>

namespace KX {

namespace {

DebugLevels readLevels() {
    const char* const setting = std::getenv("KX_DEBUG");
    std::vector<std::string> mistakes;
    DebugLevels levels(setting ? setting : "", mistakes);
    for (std::string& mistake : mistakes)
        DebugOutput::writeLine(mistake);
    return levels;
}

} // namespace

std::array<std::atomic<DebugSections::Block*>, DebugSections::mostBlocks> DebugSections::blocks;
std::atomic<unsigned int> DebugSections::sectionCount;
std::atomic<int> DebugSections::highestLevel{std::numeric_limits<int>::max()};

/// The state of registration. Made by the first call and never destroyed, because static initialisers and
/// destructors of any library may call.
struct DebugSections::Registry {
    Registry() { highestLevel.store(levels.getHighestLevel(), std::memory_order_relaxed); }

    static Registry& get() {
        static Registry* const registry = new Registry;
        return *registry;
    }

    const DebugLevels levels = readLevels(); // never changes, so read without the lock
    KXStdMutex lock;
    std::map<std::string, unsigned int> keys KX_GUARDED_BY(lock);
};

unsigned int DebugSections::insert(const std::string& name) {
    Registry& registry = Registry::get();
    const KXLockGuard guard(registry.lock);
    const auto known = registry.keys.find(name);
    if (known != registry.keys.end())
        return known->second;
    const std::size_t index = sectionCount.load();
    if (index == sectionsPerBlock * mostBlocks)
        return 0; // still prints, under "?"
    std::atomic<Block*>& block = blocks[index / sectionsPerBlock];
    if (!block.load())
        block = new Block;
    Section& section = (*block.load())[index % sectionsPerBlock];
    section.name = name;
    section.level = registry.levels.getLevel(name);
    const unsigned int key = static_cast<unsigned int>(index) + 1;
    registry.keys.emplace(name, key);
    sectionCount.store(key, std::memory_order_release);
    return key;
}

int DebugSections::getLevelOfNoSection() {
    return Registry::get().levels.getLevel("?");
}

const char* DebugSections::getName(unsigned int key) {
    const Section* const section = find(key);
    return section ? section->name.c_str() : "?";
}

} // namespace KX
