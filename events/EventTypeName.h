#pragma once

#include <string_view>

namespace KX {

/// The name of an event type; empty for a number without one. No allocation.
std::string_view findEventTypeName(int type);

/// The printable name of any event type, without a heap allocation.
class EventTypeName {
public:
    explicit EventTypeName(int type);

    const char* text() const { return name; }

    EventTypeName(const EventTypeName&) = delete;
    EventTypeName& operator=(const EventTypeName&) = delete;

private:
    [[gnu::noinline]] const char* composeName(int type);

    const char* name;
    char unnamed[32]; // "UnknownEventType(-2147483648)" has 29 characters
};

} // namespace KX
