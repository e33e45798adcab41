#include "terminal/window/OperatorScreen.h"

#include "events/KXEventKind.h"
#include "terminal/events/EventText.h"
#include "terminal/look/Theme.h"

#include <QPainter>

namespace Terminal {

namespace {

constexpr int inset = 18;
constexpr int tileWidth = 132;
constexpr int gap = 10;

// Shrinks the font so that long names fit on a small screen.
void drawFitted(QPainter& painter, const QRect& area, int pixelSize, const QString& text) {
    QFont font = Theme::font(pixelSize, true);
    while (font.pixelSize() > 12 && QFontMetrics(font).horizontalAdvance(text) > area.width())
        font.setPixelSize(font.pixelSize() - 1);
    painter.setFont(font);
    painter.drawText(area, Qt::AlignLeft | Qt::AlignVCenter, text);
}

void drawTile(QPainter& painter, const QRect& tile, const QString& title, const QString& number,
              const QColor& colour) {
    painter.setPen(QPen(Theme::outline(), 1));
    painter.setBrush(Theme::screen());
    painter.drawRoundedRect(QRectF(tile).adjusted(0.5, 0.5, -0.5, -0.5), 6, 6);
    const QRect inside = tile.adjusted(12, 8, -12, -8);
    painter.setPen(Theme::quietText());
    painter.setFont(Theme::font(11, true));
    painter.drawText(inside, Qt::AlignTop | Qt::AlignLeft, title);
    painter.setPen(colour);
    drawFitted(painter, inside.adjusted(0, 16, 0, 0), 34, number);
}

} // namespace

OperatorScreen::OperatorScreen(QWidget* parent) : QWidget(parent) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

QSize OperatorScreen::sizeHint() const {
    return {760, isCompact ? 88 : 124};
}

void OperatorScreen::setCompact(bool compact) {
    isCompact = compact;
    updateGeometry();
    update();
}

void OperatorScreen::showInput(const KX::KXInputEvent& event) {
    lastEvent = event;
    if (event.eventType == KX::ENCODER_MOVE_EVENT)
        lastEncoderMove = event;
    update();
}

void OperatorScreen::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Theme::outline(), 1));
    painter.setBrush(Theme::panel());
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 8, 8);

    const int verticalInset = isCompact ? inset / 2 : inset;
    const int tilesWidth = 2 * tileWidth + gap;
    const QRect inside = rect().adjusted(inset, verticalInset, -inset, -verticalInset);
    paintName(painter, inside.adjusted(0, 0, -tilesWidth - inset, 0));
    paintTiles(painter, inside.adjusted(inside.width() - tilesWidth, 0, 0, 0));
}

void OperatorScreen::paintName(QPainter& painter, const QRect& area) const {
    const QRect stripe(area.left(), area.top(), 6, area.height());
    painter.setPen(Qt::NoPen);
    painter.setBrush(lastEvent ? Theme::colourOf(KX::kindOfEventType(lastEvent->eventType)) : Theme::accent());
    painter.drawRoundedRect(stripe, 3, 3);

    const QRect text = area.adjusted(stripe.width() + 14, 0, 0, 0);
    const QRect upper = text.adjusted(0, 0, 0, -text.height() * 2 / 5);
    const QRect lower = text.adjusted(0, text.height() * 3 / 5, 0, 0);
    painter.setPen(Theme::text());
    drawFitted(painter, upper, 30, lastEvent ? EventText::name(*lastEvent) : QStringLiteral("Ready for input"));
    painter.setPen(Theme::quietText());
    drawFitted(painter, lower, 18,
               lastEvent ? EventText::key(*lastEvent)
                         : QStringLiteral("Press a key, turn the wheel or touch a soft key"));
}

void OperatorScreen::paintTiles(QPainter& painter, QRect area) const {
    area.setWidth(tileWidth);
    const bool isNews = lastEvent && lastEvent->eventType == KX::ENCODER_MOVE_EVENT;
    const QColor colour = isNews ? Theme::encoder() : Theme::quietText();
    const QString none = QStringLiteral("\u2013");
    drawTile(painter, area, QStringLiteral("ENCODER VALUE"),
             lastEncoderMove ? EventText::value(*lastEncoderMove) : none, colour);
    area.translate(tileWidth + gap, 0);
    drawTile(painter, area, QStringLiteral("ENCODER STEPS"),
             lastEncoderMove ? EventText::count(*lastEncoderMove) : none, colour);
}

InputOffBanner::InputOffBanner(QWidget* parent) : QAbstractButton(parent) {
    setText(QStringLiteral("INPUT OFF\ttouch here or press F12 to switch it on"));
    setFocusPolicy(Qt::NoFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

void InputOffBanner::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor red = Theme::colourOf(KX::KXGesture::Escape);
    painter.setPen(QPen(isDown() ? Theme::text() : red, 2));
    painter.setBrush(red.darker(isDown() ? 320 : 240));
    painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 8, 8);
    const int middle = height() * 3 / 5;
    painter.setPen(Theme::text());
    painter.setFont(Theme::font(34, true));
    painter.drawText(QRect(0, 6, width(), middle - 6), Qt::AlignCenter, text().section(QLatin1Char('\t'), 0, 0));
    painter.setFont(Theme::font(18));
    painter.drawText(QRect(0, middle - 4, width(), height() - middle), Qt::AlignCenter,
                     text().section(QLatin1Char('\t'), 1));
}

} // namespace Terminal
