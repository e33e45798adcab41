#pragma once

#include <QSize>

class QWidget;

namespace Terminal {

/// All sizes in the window, in pixels. They grow with the window, so each screen is readable at arm's length.
///
/// The unit is the smallest text. A window hands it to its widgets as the size of its font, so a widget learns of a
/// change by QEvent::FontChange, and Qt asks it for its size hint again.
class Sizes {
public:
    static constexpr int unitOfDesign = 15; ///< on a 7-inch screen with 800x480 pixels
    static constexpr int smallestUnit = 13;
    static constexpr int greatestUnit = 28;
    static constexpr int touchLeast = 44; ///< the smallest side that a finger can hit

    /// The unit of a window that shows one page at a time.
    static int unitWithPages(const QSize& window);

    /// The unit of a window that shows keypad, actions and a page at once.
    static int unitWithEverything(const QSize& window);

    explicit Sizes(int unit);

    /// The sizes for a widget, from the font that its window has given it.
    static Sizes of(const QWidget& widget);

    int text() const;    ///< labels and explanations
    int heading() const; ///< names of what can be pressed
    int value() const;   ///< numbers and words that count
    int gesture() const; ///< what the operator did last
    int touch() const;   ///< the height of a button
    int spacing() const; ///< between areas, and to the border of the window

    /// A length that was designed for \ref unitOfDesign.
    int scaled(int designed) const;

private:
    int unit;
};

} // namespace Terminal
