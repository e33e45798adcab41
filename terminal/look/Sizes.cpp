#include "terminal/look/Sizes.h"

#include <QFontInfo>
#include <QWidget>

#include <algorithm>

namespace Terminal {

namespace {

constexpr QSize designWithPages(800, 480);
constexpr QSize designWithEverything(1024, 768);

int unitFor(const QSize& window, const QSize& design, int least) {
    const int byWidth = window.width() * Sizes::unitOfDesign / design.width();
    const int byHeight = window.height() * Sizes::unitOfDesign / design.height();
    return std::clamp(std::min(byWidth, byHeight), least, Sizes::greatestUnit);
}

} // namespace

int Sizes::unitWithPages(const QSize& window) {
    return unitFor(window, designWithPages, smallestUnit);
}

int Sizes::unitWithEverything(const QSize& window) {
    return unitFor(window, designWithEverything, unitOfDesign);
}

Sizes::Sizes(int unitInPixels) : unit(unitInPixels) {}

Sizes Sizes::of(const QWidget& widget) {
    return Sizes(widget.fontInfo().pixelSize());
}

int Sizes::text() const {
    return unit;
}

int Sizes::heading() const {
    return scaled(18);
}

int Sizes::value() const {
    return scaled(24);
}

int Sizes::gesture() const {
    return scaled(30);
}

int Sizes::touch() const {
    return std::max(touchLeast, scaled(touchLeast));
}

int Sizes::spacing() const {
    return scaled(8);
}

int Sizes::scaled(int designed) const {
    return (designed * unit + unitOfDesign / 2) / unitOfDesign;
}

} // namespace Terminal
