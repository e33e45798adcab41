#include "terminal/timeline/TimeLineLegend.h"

#include "terminal/look/GestureMark.h"
#include "terminal/look/Sizes.h"
#include "terminal/look/Theme.h"

#include <QPainter>

#include <algorithm>
#include <iterator>

namespace Terminal {

namespace {

constexpr int legendColumns = 2;
constexpr int signRoom = 40; // these lengths are scaled
constexpr int signSize = 14;
constexpr int legendInset = 10;

using DrawSign = void (*)(QPainter& painter, const QPointF& centre, double size);

template<KX::KXGesture gesture>
void drawGesture(QPainter& painter, const QPointF& centre, double size) {
    GestureMark::draw(painter, gesture, centre, size);
}

void drawEncoder(QPainter& painter, const QPointF& centre, double size) {
    GestureMark::draw(painter, {KX::KXInputDevice::Encoder, KX::KXGesture::Move}, centre, size);
}

template<KX::KXGesture gesture>
void drawBar(QPainter& painter, const QPointF& centre, double size) {
    painter.fillRect(QRectF(centre - QPointF(size, size / 2), QSizeF(2 * size, size)), Theme::colourOf(gesture));
}

void drawWindow(QPainter& painter, const QPointF& centre, double size) {
    painter.fillRect(QRectF(centre - QPointF(size, 1), QSizeF(2 * size, 3)), Theme::doublePressTime());
}

struct Entry {
    const char* text;
    DrawSign drawSign;
};

const Entry entries[] = {
    {"Press", drawGesture<KX::KXGesture::Press>},
    {"Release", drawGesture<KX::KXGesture::Release>},
    {"Double press", drawGesture<KX::KXGesture::DoublePress>},
    {"Escaped", drawGesture<KX::KXGesture::Escape>},
    {"Long press", drawGesture<KX::KXGesture::LongPress>},
    {"Long release", drawGesture<KX::KXGesture::LongRelease>},
    {"Key is down", drawBar<KX::KXGesture::Press>},
    {"Down for long", drawBar<KX::KXGesture::LongPress>},
    {"Time for a double press", drawWindow},
    {"Encoder, by its value", drawEncoder},
};
constexpr int lines = static_cast<int>(std::size(entries)) / legendColumns;

} // namespace

TimeLineLegend::TimeLineLegend(QWidget* parent) : QWidget(parent) {
    setFocusPolicy(Qt::NoFocus);
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

int TimeLineLegend::columnWidth() const {
    const Sizes sizes = Sizes::of(*this);
    const QFontMetrics metrics(Theme::font(sizes.text()));
    int widest = 0;
    for (const Entry& entry : entries)
        widest = std::max(widest, metrics.horizontalAdvance(QString::fromLatin1(entry.text)));
    return sizes.scaled(signRoom) + widest + sizes.scaled(legendInset);
}

int TimeLineLegend::lineHeight() const {
    return Sizes::of(*this).scaled(26);
}

QSize TimeLineLegend::sizeHint() const {
    const int margin = Sizes::of(*this).scaled(legendInset);
    return {legendColumns * columnWidth() + margin, lines * lineHeight() + margin};
}

void TimeLineLegend::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const Sizes sizes = Sizes::of(*this);
    painter.setPen(QPen(Theme::edge(), 1));
    painter.setBrush(Theme::panel());
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 6, 6);
    painter.setFont(Theme::font(sizes.text()));
    const int margin = sizes.scaled(legendInset) / 2;
    int number = 0;
    for (const Entry& entry : entries) {
        const QRect place(margin + number % legendColumns * columnWidth(),
                          margin + number / legendColumns * lineHeight(), columnWidth(), lineHeight());
        const int room = sizes.scaled(signRoom);
        painter.setPen(Qt::NoPen);
        entry.drawSign(painter, QPointF(place.left() + room / 2.0, place.center().y() + 0.5),
                       sizes.scaled(signSize));
        painter.setPen(Theme::text());
        painter.drawText(place.adjusted(room, 0, 0, 0), Qt::AlignLeft | Qt::AlignVCenter,
                         QString::fromLatin1(entry.text));
        ++number;
    }
}

} // namespace Terminal
