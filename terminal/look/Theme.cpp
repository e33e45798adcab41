#include "terminal/look/Theme.h"

#include "terminal/look/Sizes.h"

#include <QApplication>
#include <QFontMetrics>
#include <QPalette>
#include <QString>
#include <QStyleFactory>

namespace Terminal {

namespace {

QPalette darkPalette() {
    QPalette palette;
    palette.setColor(QPalette::Window, Theme::screen());
    palette.setColor(QPalette::WindowText, Theme::text());
    palette.setColor(QPalette::Base, Theme::panel());
    palette.setColor(QPalette::AlternateBase, Theme::otherRow());
    palette.setColor(QPalette::Text, Theme::text());
    palette.setColor(QPalette::Button, Theme::panel());
    palette.setColor(QPalette::ButtonText, Theme::text());
    palette.setColor(QPalette::Highlight, Theme::accent());
    palette.setColor(QPalette::HighlightedText, Theme::screen());
    return palette;
}

} // namespace

void Theme::apply(QApplication& application) {
    application.setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    QApplication::setPalette(darkPalette());
    QApplication::setFont(font(Sizes::unitOfDesign));
}

QString Theme::listStyle() {
    return QStringLiteral("QTableView { border: 1px solid %1; border-radius: 6px; padding: 1px; }"
                          "QTableView::item { border: 0; padding-left: 4px; padding-right: 5px; }"
                          "QHeaderView { background: %2; }"
                          "QHeaderView::section { background: %2; color: %3; border: 0;"
                          "  border-bottom: 1px solid %1; padding: 4px 7px 4px 7px; }"
                          "QScrollBar:vertical { background: %2; width: 10px; margin: 0; border: 0; }"
                          "QScrollBar::handle:vertical { background: %1; border-radius: 3px; min-height: 36px;"
                          "  margin: 2px; }"
                          "QScrollBar::add-line, QScrollBar::sub-line { height: 0; width: 0; }"
                          "QScrollBar::add-page, QScrollBar::sub-page { background: none; }")
        .arg(Theme::outline().name(), Theme::panel().name(), Theme::quietText().name());
}

QColor Theme::colourOf(KX::KXGesture gesture) {
    switch (gesture) {
    case KX::KXGesture::Press: return {0x62, 0xc4, 0x4a};
    case KX::KXGesture::DoublePress: return {0x3f, 0xa9, 0xf5};
    case KX::KXGesture::LongPress: return {0xf5, 0xa6, 0x23};
    case KX::KXGesture::Release: return {0x5f, 0xa4, 0x50};
    case KX::KXGesture::LongRelease: return {0xc4, 0x86, 0x1f};
    case KX::KXGesture::Escape: return alarm();
    default: return quietText();
    }
}

QColor Theme::colourOf(const KX::KXEventKind& kind) {
    return kind.device == KX::KXInputDevice::Encoder ? encoder() : colourOf(kind.gesture);
}

QColor Theme::screen() {
    return {0x10, 0x14, 0x18};
}

QColor Theme::panel() {
    return {0x1a, 0x20, 0x26};
}

QColor Theme::otherRow() {
    return {0x1f, 0x26, 0x2d};
}

QColor Theme::face() {
    return {0x24, 0x2d, 0x36};
}

QColor Theme::litFace() {
    return {0x2c, 0x37, 0x41};
}

QColor Theme::pressedFace() {
    return {0x6e, 0x53, 0x02};
}

QColor Theme::alarmFace() {
    return {0x64, 0x16, 0x12};
}

QColor Theme::onFace() {
    return {0x2c, 0x60, 0x24};
}

QColor Theme::offFace() {
    return {0x7c, 0x2b, 0x25};
}

QColor Theme::text() {
    return {0xf0, 0xf3, 0xf5};
}

QColor Theme::quietText() {
    return {0xa4, 0xb1, 0xbc};
}

QColor Theme::accent() {
    return {0xf2, 0xb7, 0x05};
}

QColor Theme::encoder() {
    return {0x2d, 0xc6, 0xc0};
}

QColor Theme::warning() {
    return colourOf(KX::KXGesture::LongPress);
}

QColor Theme::alarm() {
    return {0xff, 0x7a, 0x6e};
}

QColor Theme::edge() {
    return {0x72, 0x82, 0x90};
}

QColor Theme::doublePressTime() {
    return {0x2b, 0x72, 0xa6};
}

QColor Theme::outline() {
    return {0x38, 0x43, 0x4d};
}

QFont Theme::font(int pixelSize, bool bold) {
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(pixelSize);
    font.setBold(bold);
    return font;
}

QFont Theme::tableFont(int pixelSize) {
    QFont font(QStringLiteral("DejaVu Sans Mono"));
    font.setStyleHint(QFont::Monospace); // if the family is not installed
    font.setPixelSize(pixelSize);
    return font;
}

QFont Theme::fittedFont(const QString& text, int width, int greatest, int least) {
    QFont fitted = font(greatest, true);
    while (fitted.pixelSize() > least && QFontMetrics(fitted).horizontalAdvance(text) > width)
        fitted.setPixelSize(fitted.pixelSize() - 1);
    if (QFontMetrics(fitted).horizontalAdvance(text) > width)
        fitted.setBold(false);
    return fitted;
}

} // namespace Terminal
