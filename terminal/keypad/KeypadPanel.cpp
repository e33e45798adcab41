#include "terminal/keypad/KeypadPanel.h"

#include "input/KXInputEventManager.h"
#include "recording/KXKeyLayout.h"
#include "terminal/keypad/KeypadControls.h"
#include "terminal/look/PlotLook.h"
#include "terminal/look/Sizes.h"
#include "terminal/look/Theme.h"
#include "toolkit/KXToolkitLayer.h"

#include <QEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeySequence>
#include <QPainter>

#include <algorithm>
#include <optional>
#include <utility>

namespace Terminal {

namespace {

constexpr int keysInRow = 8;
constexpr int keysInNarrowRow = 4;
constexpr int gap = 6; // scaled

QString labelOf(int keyCode) {
    const std::map<int, int>& toolkitKeys = *KX::KXInputEventManager::getKXtoOSCodeMap();
    const auto found = toolkitKeys.find(keyCode);
    return found == toolkitKeys.end() ? QString::number(keyCode) : QKeySequence(found->second).toString();
}

} // namespace

KeypadPanel::KeypadPanel(QWidget* parent)
    : QWidget(parent), frames(KX::KeyLayout::empty()), grid(new QGridLayout), turningKnob(new KeypadKnob),
      keys(KX::KeyLayout::keyCount, nullptr), columns(keysInRow) {
    KX::KXToolkitLayer::leavePressesTo(*this);
    auto* row = new QHBoxLayout(this);
    row->addLayout(grid, keysInRow);
    row->addWidget(turningKnob, 2);
    connect(turningKnob, &KeypadKnob::turned, this, [this](bool up) { emit frameChanged(frames.turn(up)); });
    looks.setInterval(lookIntervalMs);
    connect(&looks, &QTimer::timeout, this, &KeypadPanel::lookAtBus);
    arrange();
}

int KeypadPanel::titleHeight() const {
    return Sizes::of(*this).scaled(24);
}

void KeypadPanel::arrange() {
    const Sizes sizes = Sizes::of(*this);
    const int margin = sizes.spacing();
    layout()->setContentsMargins(margin, titleHeight() + sizes.scaled(gap), margin, margin);
    layout()->setSpacing(margin);
    grid->setSpacing(sizes.scaled(gap));
}

void KeypadPanel::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        arrange();
}

void KeypadPanel::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    placeKeys();
}

// Like the device, unless wider keys can show their names larger.
int KeypadPanel::columnsThatFit() const {
    int nameWidth = 0;
    for (const KeypadKey* const key : keys)
        nameWidth = std::max(nameWidth, key ? key->widthForLargeName() : 0);
    const QSize room = grid->geometry().size();
    const int spacing = grid->spacing();
    if ((room.width() + spacing) / keysInRow - spacing >= nameWidth)
        return keysInRow;
    constexpr int rows = KX::KeyLayout::keyCount / keysInNarrowRow;
    const int keyHeight = (room.height() + spacing) / rows - spacing;
    const bool isHighEnough = std::all_of(keys.begin(), keys.end(), [&](const KeypadKey* key) {
        return !key || keyHeight >= key->minimumSizeHint().height();
    });
    return isHighEnough ? keysInNarrowRow : keysInRow;
}

void KeypadPanel::placeKeys() {
    if (std::exchange(columns, columnsThatFit()) == columns)
        return;
    for (int entry = 0; entry < keys.size(); ++entry) {
        if (!keys[entry])
            continue;
        grid->removeWidget(keys[entry]);
        grid->addWidget(keys[entry], entry / columns, entry % columns);
    }
}

void KeypadPanel::watchBus(std::function<BusStatus()> look) {
    lookNow = std::move(look);
    lookAtBus();
    looks.start();
}

void KeypadPanel::lookAtBus() {
    const BusStatus seen = lookNow();
    if (seen.works && !bus.works)
        faultText.clear(); // it was about a bus that did not work
    bus = seen;
    update();
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
    grid->addWidget(key, entry / columns, entry % columns);
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

QString KeypadPanel::busText() const {
    return bus.name.isEmpty() ? QString() : bus.name + QStringLiteral(": ") + bus.state;
}

void KeypadPanel::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    PlotLook::drawPanel(painter, rect());
    paintTitle(painter);
}

// A path is longer than the title. Its end tells buses apart.
void KeypadPanel::paintTitle(QPainter& painter) const {
    const Sizes sizes = Sizes::of(*this);
    const int margin = sizes.spacing() + 2;
    const QRect title(margin, sizes.scaled(4), width() - 2 * margin, titleHeight());
    const QString name = QStringLiteral("CAN keypad");
    painter.setFont(Theme::font(sizes.text(), true));
    painter.setPen(Theme::quietText());
    painter.drawText(title, Qt::AlignLeft | Qt::AlignVCenter, name);
    const int room = title.width() - painter.fontMetrics().horizontalAdvance(name) - 2 * margin;
    const bool isBroken = !faultText.isEmpty() || (!bus.works && !bus.name.isEmpty());
    painter.setPen(isBroken ? Theme::alarm() : Theme::quietText());
    const QString text = bus.works && !faultText.isEmpty() ? faultText : busText();
    painter.drawText(title, Qt::AlignRight | Qt::AlignVCenter,
                     painter.fontMetrics().elidedText(text, Qt::ElideLeft, room));
}

} // namespace Terminal
