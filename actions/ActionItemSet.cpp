#include "actions/KXActionQueue.h"

#include <algorithm>
#include <set>
#include <tuple>

namespace KX {

namespace {

// So many are compared one by one, which is faster than anything cleverer.
constexpr std::size_t fewItems = 8;

// Memory for so many is kept from drain to drain; that of a rare long chain is given back.
constexpr std::size_t keptItems = 256;

auto keyOf(const KXActionQueue::actionItem& item) {
    return std::make_tuple(
        reinterpret_cast<std::uintptr_t>(item.action), reinterpret_cast<std::uintptr_t>(item.triggeringAction),
        static_cast<unsigned int>(item.eventType), reinterpret_cast<std::uintptr_t>(item.userData));
}

bool isSame(const KXActionQueue::actionItem& one, const KXActionQueue::actionItem& other) {
    return one.userData == other.userData && one.action == other.action &&
           one.triggeringAction == other.triggeringAction && one.eventType == other.eventType;
}

// Odd factors that spread addresses, whose low bits hardly differ, over the upper half of the sum.
std::uint32_t hashOf(const KXActionQueue::actionItem& item) {
    const std::uint64_t sum = reinterpret_cast<std::uintptr_t>(item.action) * 0x9E3779B97F4A7C15U +
                              reinterpret_cast<std::uintptr_t>(item.triggeringAction) * 0xC2B2AE3D27D4EB4FU +
                              static_cast<unsigned int>(item.eventType) * 0x165667B19E3779F9U +
                              reinterpret_cast<std::uintptr_t>(item.userData) * 0xD6E8FEB86659FD93U;
    return static_cast<std::uint32_t>(sum >> 32);
}

} // namespace

bool KXActionQueue::actionItem::operator<(const actionItem& other) const {
    return keyOf(*this) < keyOf(other);
}

KXActionQueue::itemSet::const_iterator KXActionQueue::itemSet::lower_bound(const actionItem& item) const {
    return std::lower_bound(begin(), end(), item);
}

KXActionQueue::itemSet::const_iterator KXActionQueue::itemSet::find(const actionItem& item) const {
    const auto place = lower_bound(item);
    return place != end() && isSame(*place, item) ? place : end();
}

std::pair<KXActionQueue::itemSet::const_iterator, bool> KXActionQueue::itemSet::insert(const actionItem& item) {
    const bool isNew = add(item);
    return {find(item), isNew};
}

std::size_t KXActionQueue::itemSet::erase(const actionItem& item) {
    const actionItem* const found = lookUp(item);
    if (!found)
        return 0;
    items[static_cast<std::size_t>(found - items.data())] = items.back();
    items.pop_back();
    ordered.clear();
    if (!table.empty())
        makeSlots(table.size());
    return 1;
}

void KXActionQueue::itemSet::clear() noexcept {
    if (items.capacity() > keptItems) {
        *this = itemSet();
        return;
    }
    items.clear();
    table.clear();
    ordered.clear();
}

const KXActionQueue::actionItem* KXActionQueue::itemSet::lookUp(const actionItem& item) const {
    if (table.empty()) {
        const auto found =
            std::find_if(items.begin(), items.end(), [&](const actionItem& other) { return isSame(item, other); });
        return found != items.end() ? &*found : nullptr;
    }
    const std::uint32_t hash = hashOf(item);
    const std::size_t mask = table.size() - 1;
    for (std::size_t i = hash & mask; table[i].place != 0; i = (i + 1) & mask)
        if (table[i].hash == hash && isSame(item, items[table[i].place - 1]))
            return &items[table[i].place - 1];
    return nullptr;
}

bool KXActionQueue::itemSet::add(const actionItem& item) {
    if (lookUp(item))
        return false;
    reserve(items.size() + 1);
    append(item);
    return true;
}

void KXActionQueue::itemSet::addAll(const itemSet& others) {
    reserve(items.size() + others.items.size());
    for (const actionItem& item : others.items)
        if (!lookUp(item))
            append(item);
}

// Afterwards so many can be held without an allocation. Where this throws, nothing has changed.
void KXActionQueue::itemSet::reserve(std::size_t number) {
    if (number > items.capacity())
        items.reserve(std::max(number, 2 * items.capacity()));
    if (number > fewItems && 2 * number > table.size())
        makeSlots(2 * number);
}

// There must be room.
void KXActionQueue::itemSet::append(const actionItem& item) {
    items.push_back(item);
    if (!table.empty())
        enter(hashOf(item), static_cast<std::uint32_t>(items.size()));
}

void KXActionQueue::itemSet::makeSlots(std::size_t number) {
    std::size_t powerOfTwo = 4 * fewItems;
    while (powerOfTwo < number)
        powerOfTwo *= 2;
    table.assign(powerOfTwo, slot{0, 0});
    std::uint32_t place = 0;
    for (const actionItem& item : items)
        enter(hashOf(item), ++place);
}

void KXActionQueue::itemSet::enter(std::uint32_t hash, std::uint32_t place) {
    const std::size_t mask = table.size() - 1;
    std::size_t i = hash & mask;
    while (table[i].place != 0)
        i = (i + 1) & mask;
    table[i] = {hash, place};
}

const std::vector<KXActionQueue::actionItem>& KXActionQueue::itemSet::inOrder() const {
    if (ordered.size() != items.size()) {
        // By a set, since what the compiler leaves of std::sort looks like a function of ours to the linker.
        ordered.clear();
        for (const actionItem& item : std::set<actionItem>(items.begin(), items.end()))
            ordered.push_back(item);
    }
    return ordered;
}

} // namespace KX
