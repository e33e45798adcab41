#pragma once

#include <QColor>

#include <algorithm>
#include <cmath>

namespace Terminal {

/// The luminance of a colour by the web's guidelines for accessible content.
inline double luminance(const QColor& colour) {
    const auto linear = [](double part) {
        return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) + 0.0722 * linear(colour.blueF());
}

/// How much two colours differ, from 1 to 21.
inline double contrastRatio(const QColor& one, const QColor& other) {
    const double first = luminance(one);
    const double second = luminance(other);
    return (std::max(first, second) + 0.05) / (std::min(first, second) + 0.05);
}

} // namespace Terminal
