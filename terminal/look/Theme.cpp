#include "terminal/look/Theme.h"

#include <QApplication>
#include <QPalette>
#include <QString>
#include <QStyleFactory>

namespace Terminal {

namespace {

constexpr int textSize = 14;

QPalette darkPalette() {
    QPalette palette;
    palette.setColor(QPalette::Window, Theme::screen());
    palette.setColor(QPalette::WindowText, Theme::text());
    palette.setColor(QPalette::Base, Theme::panel());
    palette.setColor(QPalette::AlternateBase, Theme::panel().lighter(115));
    palette.setColor(QPalette::Text, Theme::text());
    palette.setColor(QPalette::Button, Theme::panel());
    palette.setColor(QPalette::ButtonText, Theme::text());
    palette.setColor(QPalette::Highlight, Theme::accent());
    palette.setColor(QPalette::HighlightedText, Theme::screen());
    return palette;
}

QString styleSheet() {
    return QStringLiteral("QTableView { border: 1px solid %1; border-radius: 6px; padding: 1px; }"
                          "QTableView::item { border: 0; padding-left: 4px; padding-right: 5px; }"
                          "QHeaderView { background: %2; }"
                          "QHeaderView::section { background: %2; color: %3; border: 0;"
                          "  border-bottom: 1px solid %1; padding: 6px 7px 6px 7px; font-size: 12px; }"
                          "QScrollBar:vertical { background: %2; width: 10px; margin: 0; border: 0; }"
                          "QScrollBar::handle:vertical { background: %1; border-radius: 3px; min-height: 36px;"
                          "  margin: 2px; }"
                          "QScrollBar::add-line, QScrollBar::sub-line { height: 0; width: 0; }"
                          "QScrollBar::add-page, QScrollBar::sub-page { background: none; }")
        .arg(Theme::outline().name(), Theme::panel().name(), Theme::quietText().name());
}

} // namespace

void Theme::apply(QApplication& application) {
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    QApplication::setPalette(darkPalette());
    QApplication::setFont(font(textSize));
    application.setStyleSheet(styleSheet());
}

QColor Theme::colourOf(KX::KXGesture gesture) {
    switch (gesture) {
    case KX::KXGesture::Press: return {0x62, 0xc4, 0x4a};
    case KX::KXGesture::DoublePress: return {0x3f, 0xa9, 0xf5};
    case KX::KXGesture::LongPress: return {0xf5, 0xa6, 0x23};
    case KX::KXGesture::Release: return {0x3f, 0x7d, 0x33};
    case KX::KXGesture::LongRelease: return {0xa8, 0x71, 0x14};
    case KX::KXGesture::Escape: return {0xe8, 0x54, 0x4a};
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

QColor Theme::outline() {
    return {0x38, 0x43, 0x4d};
}

QColor Theme::text() {
    return {0xf0, 0xf3, 0xf5};
}

QColor Theme::quietText() {
    return {0x9a, 0xa8, 0xb4};
}

QColor Theme::accent() {
    return {0xf2, 0xb7, 0x05};
}

QColor Theme::encoder() {
    return {0x2d, 0xc6, 0xc0};
}

QFont Theme::font(int pixelSize, bool bold) {
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(pixelSize);
    font.setBold(bold);
    return font;
}

QFont Theme::tableFont() {
    QFont font(QStringLiteral("DejaVu Sans Mono"));
    font.setStyleHint(QFont::Monospace); // if the family is not installed
    font.setPixelSize(13);
    return font;
}

} // namespace Terminal
