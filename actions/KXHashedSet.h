#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <set>
#include <utility>
#include <vector>

namespace KX {

/// A set that finds its items by hash and iterates over them in their order. For one thread; nothing blocks.
///
/// Every action of a chain searches the history and adds to it; only debuggers and tests iterate. So the order is
/// made by the first iteration. A chain of 1,000 actions takes a third of the time that it takes with a std::set.
///
/// \tparam Item  plain data with operator< and operator==, which agree about which items are equal
/// \tparam Hash  gives equal items the same std::uint32_t
template<class Item, class Hash>
class KXHashedSet {
public:
    using key_type = Item;                                          ///< as a std::set has it
    using value_type = Item;                                        ///< as a std::set has it
    using size_type = std::size_t;                                  ///< as a std::set has it
    using const_iterator = typename std::set<Item>::const_iterator; ///< over the items in their order
    using iterator = const_iterator;                                ///< items do not change in the set

    /// Whether there is no item.
    bool empty() const { return items.empty(); }

    /// Number of items.
    std::size_t size() const { return items.size(); }

    /// The item that equals \p item, or null. Valid until the set changes.
    const Item* lookUp(const Item& item) const {
        if (table.empty()) {
            for (const Item& each : items) // std::find is unrolled into several times the code
                if (each == item)
                    return &each;
            return nullptr;
        }
        const std::uint32_t hash = Hash()(item);
        const std::size_t mask = table.size() - 1;
        for (std::size_t i = hash & mask; table[i].place != 0; i = (i + 1) & mask)
            if (table[i].hash == hash && items[table[i].place - 1] == item)
                return &items[table[i].place - 1];
        return nullptr;
    }

    /// 1 if an equal item is there, else 0.
    std::size_t count(const Item& item) const { return lookUp(item) ? 1 : 0; }

    /// Adds \p item. An equal item that is there already stays instead. If it throws, the set is unchanged.
    /// \return whether it was added
    bool add(const Item& item) {
        if (lookUp(item))
            return false;
        reserve(items.size() + 1);
        append(item);
        return true;
    }

    /// Adds each of \p others as \ref add does.
    void addAll(const KXHashedSet& others) {
        reserve(items.size() + others.items.size());
        for (const Item& item : others.items)
            if (!lookUp(item))
                append(item);
    }

    /// Makes room for \p number items: adding them allocates nothing. If it throws, the set is unchanged.
    void reserve(std::size_t number) {
        if (number > items.capacity())
            growItems(number);
        if (number > fewItems && 2 * number > table.size())
            makeSlots(2 * number);
    }

    /// Removes the item that equals \p item.
    /// \return how many were removed, 0 or 1
    std::size_t erase(const Item& item) {
        const Item* const found = lookUp(item);
        if (!found)
            return 0;
        items[static_cast<std::size_t>(found - items.data())] = items.back();
        items.pop_back();
        ordered.clear();
        if (!table.empty())
            makeSlots(table.size());
        return 1;
    }

    /// Keeps the memory of a usual chain and frees that of a long one.
    [[gnu::noinline]] void clear() noexcept {
        if (items.capacity() > keptItems) {
            *this = KXHashedSet();
            return;
        }
        items.clear();
        table.clear();
        ordered.clear();
    }

    // In order, as in a std::set. Iterators are valid until the set changes.

    const_iterator begin() const { return inOrder().begin(); } ///< the least item
    const_iterator end() const { return inOrder().end(); }     ///< behind the greatest item
    const_iterator cbegin() const { return begin(); }          ///< the least item
    const_iterator cend() const { return end(); }              ///< behind the greatest item
    auto rbegin() const { return inOrder().rbegin(); }         ///< the greatest item
    auto rend() const { return inOrder().rend(); }             ///< before the least item

    /// The item that equals \p item, or end().
    const_iterator find(const Item& item) const { return inOrder().find(item); }

    /// The least item that is not less than \p item, or end().
    const_iterator lower_bound(const Item& item) const { return inOrder().lower_bound(item); }

    /// As \ref add. If the order lacks memory, it throws and the item stays added.
    std::pair<const_iterator, bool> insert(const Item& item) {
        const bool isNew = add(item);
        return {find(item), isNew};
    }

private:
    struct Slot {
        std::uint32_t hash;
        std::uint32_t place; // of the item, counted from 1; 0: the slot is free
    };

    static constexpr std::size_t fewItems = 8; // compared one by one, which is faster than a hash
    static constexpr std::size_t keptItems = 256;

    // The caller has reserved room.
    void append(const Item& item) {
        items.push_back(item);
        if (!table.empty())
            enter(item, items.size());
    }

    // Out of line, like makeSlots and clear: rare.
    [[gnu::noinline]] void growItems(std::size_t number) { items.reserve(std::max(number, 2 * items.capacity())); }

    [[gnu::noinline]] void makeSlots(std::size_t number) {
        std::size_t powerOfTwo = 4 * fewItems;
        while (powerOfTwo < number)
            powerOfTwo *= 2;
        table.assign(powerOfTwo, Slot{0, 0});
        std::size_t place = 0;
        for (const Item& item : items)
            enter(item, ++place);
    }

    void enter(const Item& item, std::size_t place) {
        const std::uint32_t hash = Hash()(item);
        const std::size_t mask = table.size() - 1;
        std::size_t i = hash & mask;
        while (table[i].place != 0)
            i = (i + 1) & mask;
        table[i] = {hash, static_cast<std::uint32_t>(place)};
    }

    const std::set<Item>& inOrder() const {
        if (ordered.size() != items.size())
            ordered = std::set<Item>(items.begin(), items.end());
        return ordered;
    }

    std::vector<Item> items;        // in the order of adding
    std::vector<Slot> table;        // none while items are few; else a power of two, at least half of them free
    mutable std::set<Item> ordered; // made for a walk; outdated while it is smaller than items
};

} // namespace KX
