#include "terminal/window/SoftKeyBar.h"

#include "terminal/look/GestureMark.h"
#include "terminal/look/ScreenButton.h"
#include "terminal/look/Sizes.h"
#include "terminal/look/Theme.h"

#include <QHBoxLayout>
#include <QPainter>

namespace Terminal {

namespace {

const char* const labels[] = {"Start", "Stop", "Lift", "Lower", "Fold", "Rate", "Lights", "Menu"};

constexpr int keyHeight = 62; // scaled

} // namespace

SoftKey::SoftKey(int keyNumber, const QString& label, QWidget* parent)
    : QAbstractButton(parent), number(keyNumber) {
    setText(label);
    setFocusPolicy(Qt::NoFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void SoftKey::showRecognised(std::optional<KX::KXGesture> gesture) {
    if (recognisedGesture == gesture)
        return;
    recognisedGesture = gesture;
    update();
}

std::optional<KX::KXGesture> SoftKey::recognised() const {
    return recognisedGesture;
}

QSize SoftKey::sizeHint() const {
    const Sizes sizes = Sizes::of(*this);
    return {sizes.scaled(112), sizes.scaled(keyHeight)};
}

QSize SoftKey::minimumSizeHint() const {
    const Sizes sizes = Sizes::of(*this);
    return {sizes.scaled(66), sizes.scaled(keyHeight)}; // for a finger in a glove
}

void SoftKey::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const double corner = Sizes::of(*this).scaled(7);
    if (isEnabled())
        paintFace(painter, *this, corner);
    else
        paintOffFace(painter, corner);
    paintTexts(painter);
}

// A key that is switched off is flat and has a broken border.
void SoftKey::paintOffFace(QPainter& painter, double corner) const {
    painter.setPen(QPen(Theme::edge(), 1, Qt::DotLine));
    painter.setBrush(Theme::screen());
    painter.drawRoundedRect(QRectF(rect()).adjusted(1.5, 1.5, -1.5, -1.5), corner, corner);
}

void SoftKey::paintTexts(QPainter& painter) const {
    const Sizes sizes = Sizes::of(*this);
    const int margin = sizes.scaled(6);
    const QRect inside = rect().adjusted(margin, sizes.scaled(4), -margin, -sizes.scaled(6));
    const int upperHeight = QFontMetrics(Theme::font(sizes.text())).height();
    painter.setPen(isEnabled() ? labelColour(*this) : Theme::quietText());
    painter.setFont(Theme::font(sizes.text()));
    painter.drawText(inside, Qt::AlignTop | Qt::AlignLeft, QStringLiteral("F%1").arg(number));

    painter.setPen(isEnabled() ? Theme::text() : Theme::quietText());
    painter.setFont(Theme::fittedFont(text(), width() - sizes.scaled(14), sizes.scaled(22), sizes.text()));
    painter.drawText(rect().adjusted(0, inside.top() + upperHeight, 0, -sizes.scaled(4)), Qt::AlignCenter, text());

    if (!recognisedGesture || !isEnabled())
        return;
    const double size = sizes.scaled(16);
    const double halfWidth = GestureMark::widthOf(*recognisedGesture, size) / 2;
    GestureMark::draw(painter, *recognisedGesture,
                      QPointF(inside.right() - halfWidth, inside.top() + upperHeight / 2.0), size);
}

SoftKeyBar::SoftKeyBar(QWidget* parent) : QWidget(parent) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(6);
    for (const char* label : labels) {
        auto* key = new SoftKey(softKeys.size() + 1, QString::fromLatin1(label), this);
        const int number = softKeys.size();
        connect(key, &QAbstractButton::pressed, this, [this, key, number] {
            pressedKey = key;
            emit keyWentDown(number);
        });
        softKeys.append(key);
        row->addWidget(key);
    }
}

const QVector<SoftKey*>& SoftKeyBar::keys() const {
    return softKeys;
}

void SoftKeyBar::setSwitchedOff(bool off) {
    for (SoftKey* key : qAsConst(softKeys))
        key->setEnabled(!off);
}

void SoftKeyBar::showEvents(const ClassifiedEvents& events) {
    for (const KX::KXInputEvent& event : events)
        showInput(event);
}

void SoftKeyBar::showInput(const KX::KXInputEvent& event) {
    const KX::KXEventKind kind = KX::kindOfEventType(event.eventType);
    if (kind.device != KX::KXInputDevice::Mouse)
        return;
    switch (kind.gesture) {
    case KX::KXGesture::Press:
    case KX::KXGesture::DoublePress: beginTouch(); break;
    case KX::KXGesture::LongPress:
    case KX::KXGesture::Escape: break;
    default: return;
    }
    if (touchedKey)
        touchedKey->showRecognised(kind.gesture);
}

// A press of a soft key is known here before its classified event arrives. A press beside the keys is not known
// here.
void SoftKeyBar::beginTouch() {
    if (touchedKey)
        touchedKey->showRecognised(std::nullopt);
    touchedKey = pressedKey;
    pressedKey = nullptr;
}

} // namespace Terminal
