#include "terminal/keypad/KeypadPanel.h"

#include "input/KXInputEventManager.h"
#include "recording/KXKeyLayout.h"
#include "terminal/keypad/KeypadControls.h"
#include "terminal/look/Theme.h"
#include "toolkit/KXToolkitLayer.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeySequence>
#include <QPainter>

#include <algorithm>
#include <optional>

namespace Terminal {

namespace {

constexpr int keysInRow = 8;
constexpr int titleHeight = 16;

QString labelOf(int keyCode) {
    const std::map<int, int>& toolkitKeys = *KX::KXInputEventManager::getKXtoOSCodeMap();
    const auto found = toolkitKeys.find(keyCode);
    return found == toolkitKeys.end() ? QString::number(keyCode) : QKeySequence(found->second).toString();
}

} // namespace

KeypadPanel::KeypadPanel(QWidget* parent)
    : QWidget(parent), frames(KX::KeyLayout::empty()), grid(new QGridLayout), turningKnob(new KeypadKnob),
      keys(KX::KeyLayout::keyCount, nullptr) {
    KX::KXToolkitLayer::leavePressesTo(*this);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(Theme::spacing, Theme::spacing + titleHeight, Theme::spacing, Theme::spacing);
    row->setSpacing(Theme::spacing);
    grid->setSpacing(Theme::spacing - 4);
    row->addLayout(grid, keysInRow);
    row->addWidget(turningKnob, 2);
    connect(turningKnob, &KeypadKnob::turned, this, [this](bool up) { emit frameChanged(frames.turn(up)); });
}

void KeypadPanel::setLayoutOfKeys(const KX::CANRemoteOptions& layout) {
    frames = KeypadFrames(layout);
    for (int entry = 0; entry < KX::KeyLayout::keyCount; ++entry)
        if (KX::KeyLayout::isUsed(layout.keys[entry]))
            addKey(entry, layout.keys[entry]);
    turningKnob->setVisible(KX::KeyLayout::hasEncoder(layout));
}

void KeypadPanel::addKey(int entry, const KX::KeyOptionsCANRemote& options) {
    auto* key = new KeypadKey(options.keyNumber, labelOf(options.keyCode));
    keys[entry] = key;
    grid->addWidget(key, entry / keysInRow, entry % keysInRow);
    connect(
        key, &QAbstractButton::pressed, this, [this, entry] { setKey(entry, true); });
    connect(key, &QAbstractButton::released, this, [this, entry] { setKey(entry, false); });
}

KeypadKey* KeypadPanel::key(int number) const {
    return keys.value(number - 1, nullptr);
}

KeypadKnob& KeypadPanel::knob() const {
    return *turningKnob;
}

void KeypadPanel::setKey(int entry, bool pressed) {
    if (frames.isPressed(entry) != pressed)
        emit frameChanged(frames.setKey(entry, pressed));
}

// A key that is held while the keypad disappears would never be released.
void KeypadPanel::hideEvent(QHideEvent* event) {
    for (int entry = 0; entry < keys.size(); ++entry) {
        if (!keys[entry])
            continue;
        keys[entry]->setDown(false);
        setKey(entry, false);
    }
    QWidget::hideEvent(event);
}

void KeypadPanel::showFrame(const KX::KXCANMessage& frame) {
    for (int entry = 0; entry < keys.size(); ++entry) {
        const std::optional<bool> isDown = frames.keyIn(frame, entry);
        if (isDown && keys[entry])
            keys[entry]->setDown(*isDown);
    }
    if (const std::optional<int> detents = frames.detentsIn(frame))
        turningKnob->showPosition(*detents);
}

void KeypadPanel::showFault(const QString& text) {
    faultText = text;
    update();
}

QString KeypadPanel::fault() const {
    return faultText;
}

void KeypadPanel::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Theme::outline(), 1));
    painter.setBrush(Theme::panel());
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 8, 8);
    const QRect title(12, 7, width() - 24, titleHeight);
    painter.setFont(Theme::font(11, true));
    painter.setPen(Theme::quietText());
    painter.drawText(title, Qt::AlignLeft | Qt::AlignVCenter, QStringLiteral("CAN KEYPAD"));
    painter.setPen(Theme::colourOf(KX::KXGesture::Escape));
    painter.drawText(title, Qt::AlignRight | Qt::AlignVCenter,
                     painter.fontMetrics().elidedText(faultText, Qt::ElideMiddle, width() - 130));
}

} // namespace Terminal
