#pragma once

#include <atomic>
#include <boost/container/deque.hpp>
#include <boost/container/options.hpp>
#include <cstddef>
#include <utility>

namespace KX {

/// A double-ended queue whose size can be read without its lock.
///
/// Any thread may call empty() and size(); everything else needs the lock of its owner. Nothing here blocks.
/// Memory comes in blocks of \p itemsInABlock items, larger than those of std::deque, so few posts allocate.
template<class Item, std::size_t itemsInABlock>
class KXSizedDeque
    : private boost::container::deque<
          Item, void,
          typename boost::container::deque_options<boost::container::block_size<itemsInABlock>>::type> {
    using Items = boost::container::deque<
        Item, void, typename boost::container::deque_options<boost::container::block_size<itemsInABlock>>::type>;

public:
    using Items::at;
    using Items::back;
    using Items::begin;
    using Items::cbegin;
    using Items::cend;
    using Items::end;
    using Items::front;
    using Items::rbegin;
    using Items::rend;
    using Items::operator[];
    using typename Items::const_iterator;
    using typename Items::const_reference;
    using typename Items::iterator;
    using typename Items::reference;
    using typename Items::size_type;
    using typename Items::value_type;

    /// Whether it held nothing at some moment during the call. Any thread, without the lock.
    bool empty() const { return size() == 0; }

    /// Number of items at some moment during the call. Any thread, without the lock.
    std::size_t size() const { return count.load(std::memory_order_acquire); }

    /// Appends a copy. If it throws, nothing is changed.
    void push_back(const Item& item) { emplace_back(item); }

    /// Appends an item made of \p arguments. If it throws, nothing is changed.
    template<class... Arguments>
    void emplace_back(Arguments&&... arguments) {
        Items::emplace_back(std::forward<Arguments>(arguments)...);
        publishSize(count.load(std::memory_order_relaxed) + 1);
    }

    /// Drops the oldest item. There must be one.
    void pop_front() {
        Items::pop_front();
        publishSize(count.load(std::memory_order_relaxed) - 1);
    }

    /// Drops all items.
    void clear() {
        Items::clear();
        publishSize(0);
    }

private:
    // Only the thread with the lock writes it, so it needs no atomic addition.
    void publishSize(std::size_t size) { count.store(size, std::memory_order_release); }

    std::atomic<std::size_t> count{0};
};

} // namespace KX
