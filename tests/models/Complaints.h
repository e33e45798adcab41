#pragma once

#include "support/EventSamples.h"

#include <functional>
#include <sstream>
#include <string>
#include <typeinfo>
#include <vector>

namespace KX::test {

/// The result of a call: its status or an exception.
inline std::string outcome(const std::function<int()>& call) {
    try {
        return std::to_string(call());
    } catch (const std::bad_cast&) {
        return "std::bad_cast";
    }
}

inline std::string complaint(const std::string& what, const std::string& expected, const std::string& actual) {
    return expected == actual ? "" : "\n  " + what + "\n    expected " + expected + "\n    actual   " + actual;
}

inline std::string printed(const std::vector<Fields>& events) {
    std::ostringstream out;
    out << events.size();
    for (const auto& event : events)
        out << "\n      " << event;
    return out.str();
}

inline std::string printed(const Fields& event) {
    std::ostringstream out;
    out << event;
    return out.str();
}

} // namespace KX::test
