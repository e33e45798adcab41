#include "terminal/PageButtons.h"

#include "terminal/ScreenButton.h"

#include <QVBoxLayout>

namespace Terminal {

namespace {

constexpr int columnWidth = 56;
constexpr int greatestHeight = 76;
constexpr int gap = 6;

} // namespace

QVBoxLayout* makeButtonColumn(const QVector<ScreenButton*>& buttons) {
    auto* column = new QVBoxLayout;
    column->setSpacing(gap);
    for (ScreenButton* button : buttons) {
        button->setKeyBelow(true);
        button->setTextSize(16);
        button->setFixedWidth(columnWidth);
        button->setMaximumHeight(greatestHeight);
        button->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Expanding);
        column->addWidget(button, 10);
    }
    column->addStretch(1);
    return column;
}

} // namespace Terminal
