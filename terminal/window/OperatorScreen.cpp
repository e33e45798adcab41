#include "terminal/window/OperatorScreen.h"

#include "terminal/events/EventText.h"
#include "terminal/look/GestureMark.h"
#include "terminal/look/PlotLook.h"
#include "terminal/look/Sizes.h"
#include "terminal/look/Theme.h"

#include <QPainter>

namespace Terminal {

namespace {

constexpr int inset = 12; // these lengths are scaled
constexpr int screenHeight = 74;
constexpr int tileDesign = 118;
constexpr int markDesign = 30;
constexpr int endingMarkDesign = 16;

void drawTile(QPainter& painter, const QRect& tile, const Sizes& sizes, const QString& title,
              const QString& number, const QColor& colour) {
    painter.setPen(QPen(Theme::outline(), 1));
    painter.setBrush(Theme::screen());
    painter.drawRoundedRect(QRectF(tile).adjusted(0.5, 0.5, -0.5, -0.5), 6, 6);
    const QRect inside = tile.adjusted(sizes.scaled(10), sizes.scaled(4), -sizes.scaled(6), -sizes.scaled(3));
    painter.setPen(Theme::quietText());
    painter.setFont(Theme::font(sizes.text()));
    painter.drawText(inside, Qt::AlignTop | Qt::AlignLeft, title);
    painter.setPen(colour);
    painter.setFont(Theme::fittedFont(number, inside.width(), sizes.gesture(), sizes.text()));
    painter.drawText(inside, Qt::AlignLeft | Qt::AlignBottom, number);
}

} // namespace

OperatorScreen::OperatorScreen(QWidget* parent) : QWidget(parent) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

QSize OperatorScreen::sizeHint() const {
    const Sizes sizes = Sizes::of(*this);
    return {sizes.scaled(560), sizes.scaled(screenHeight)};
}

void OperatorScreen::showInput(const KX::KXInputEvent& event) {
    lastGesture.take(event);
    if (event.eventType == KX::ENCODER_MOVE_EVENT)
        lastEncoderMove = event;
    update();
}

const LastGesture& OperatorScreen::gesture() const {
    return lastGesture;
}

bool OperatorScreen::showsEncoder() const {
    return lastEncoderMove.has_value();
}

int OperatorScreen::tileWidth() const {
    return Sizes::of(*this).scaled(tileDesign);
}

void OperatorScreen::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    PlotLook::drawPanel(painter, rect());
    const Sizes sizes = Sizes::of(*this);
    QRect inside = rect().adjusted(sizes.scaled(inset), sizes.scaled(6), -sizes.scaled(8), -sizes.scaled(6));
    if (lastEncoderMove) {
        const int tiles = 2 * tileWidth() + sizes.spacing();
        paintTiles(painter, inside.adjusted(inside.width() - tiles, 0, 0, 0));
        inside.setRight(inside.right() - tiles - sizes.spacing());
    }
    paintGesture(painter, inside);
}

void OperatorScreen::paintGesture(QPainter& painter, const QRect& area) const {
    const Sizes sizes = Sizes::of(*this);
    const bool isEmpty = lastGesture.kind().device == KX::KXInputDevice::NoDevice;
    const QString words = isEmpty ? QStringLiteral("Ready for input") : lastGesture.words();
    const int mark = sizes.scaled(markDesign);
    const int markRoom = isEmpty ? 0 : mark * 3 / 2 + sizes.scaled(inset);
    const QRect text = area.adjusted(markRoom, 0, 0, 0);
    const QRect upper(text.left(), text.top(), text.width(), text.height() * 3 / 5);
    if (!isEmpty)
        GestureMark::draw(painter, lastGesture.kind(), QPointF(area.left() + mark * 0.75, area.center().y() + 0.5),
                          mark);
    painter.setPen(Theme::text());
    painter.setFont(Theme::fittedFont(words, text.width(), sizes.gesture(), sizes.text()));
    painter.drawText(upper, Qt::AlignLeft | Qt::AlignVCenter, words);
    paintEnding(painter, text.adjusted(0, upper.height(), 0, 0));
}

void OperatorScreen::paintEnding(QPainter& painter, const QRect& area) const {
    const Sizes sizes = Sizes::of(*this);
    painter.setPen(Theme::quietText());
    painter.setFont(Theme::font(sizes.text()));
    QRect words = area;
    QString text;
    if (const auto& ending = lastGesture.ending()) {
        const int mark = sizes.scaled(endingMarkDesign);
        GestureMark::draw(painter, ending->gesture, QPointF(area.left() + mark / 2.0, area.center().y() + 0.5),
                          mark);
        painter.setPen(Theme::quietText());
        words.setLeft(area.left() + mark + sizes.spacing());
        text = ending->words;
    } else if (lastGesture.kind().device == KX::KXInputDevice::NoDevice) {
        text = QStringLiteral("Press a key, turn the wheel or touch a soft key");
    }
    painter.drawText(words, Qt::AlignLeft | Qt::AlignVCenter, text);
}

void OperatorScreen::paintTiles(QPainter& painter, QRect area) const {
    const Sizes sizes = Sizes::of(*this);
    area.setWidth(tileWidth());
    const bool isNews = lastGesture.kind().device == KX::KXInputDevice::Encoder;
    const QColor colour = isNews ? Theme::encoder() : Theme::quietText();
    drawTile(painter, area, sizes, QStringLiteral("Last value"), EventText::value(*lastEncoderMove), colour);
    area.translate(tileWidth() + sizes.spacing(), 0);
    drawTile(painter, area, sizes, QStringLiteral("Last steps"), EventText::count(*lastEncoderMove), colour);
}

InputOffBanner::InputOffBanner(QWidget* parent) : QAbstractButton(parent) {
    setText(QStringLiteral("INPUT OFF\ttouch here or press F12 to switch it on"));
    setFocusPolicy(Qt::NoFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

void InputOffBanner::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const Sizes sizes = Sizes::of(*this);
    painter.setPen(QPen(isDown() ? Theme::text() : Theme::alarm(), 2));
    painter.setBrush(Theme::alarmFace());
    painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 8, 8);
    const int middle = height() * 3 / 5;
    painter.setPen(Theme::text());
    painter.setFont(Theme::font(sizes.gesture(), true));
    painter.drawText(QRect(0, 3, width(), middle - 3), Qt::AlignCenter, text().section(QLatin1Char('\t'), 0, 0));
    painter.setFont(Theme::font(sizes.heading()));
    painter.drawText(QRect(0, middle, width(), height() - middle - 3), Qt::AlignCenter,
                     text().section(QLatin1Char('\t'), 1));
}

} // namespace Terminal
