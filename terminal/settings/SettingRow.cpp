#include "terminal/settings/SettingRow.h"

#include "terminal/window/Theme.h"

#include <QHBoxLayout>
#include <QPainter>

namespace Terminal {

namespace {

constexpr int inset = 8;
constexpr int textLeft = 14;

} // namespace

SettingRow::SettingRow(const QString& name, QWidget* parent)
    : QWidget(parent), title(name), controlLayout(new QHBoxLayout(this)) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    controlLayout->setContentsMargins(inset, 0, inset, 0);
    controlLayout->setSpacing(2);
    controlLayout->addStretch(1);
}

QHBoxLayout& SettingRow::controls() const {
    return *controlLayout;
}

void SettingRow::showInfo(const QString& text) {
    info = text;
    infoIsRefusal = false;
    update();
}

void SettingRow::showRefusal(const QString& text) {
    info = text;
    infoIsRefusal = true;
    update();
}

QString SettingRow::infoText() const {
    return info;
}

bool SettingRow::saysRefusal() const {
    return infoIsRefusal;
}

void SettingRow::setChosen(bool chosen) {
    chosenByKeys = chosen;
    update();
}

bool SettingRow::isChosen() const {
    return chosenByKeys;
}

void SettingRow::turn(int /*steps*/) {}

void SettingRow::activate() {}

QSize SettingRow::sizeHint() const {
    return {480, 76};
}

QSize SettingRow::minimumSizeHint() const {
    return {360, 58};
}

void SettingRow::mousePressEvent(QMouseEvent* /*event*/) {
    emit touched();
}

void SettingRow::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(chosenByKeys ? Theme::accent() : Theme::outline(), chosenByKeys ? 2 : 1));
    painter.setBrush(chosenByKeys ? Theme::panel().lighter(125) : Theme::panel());
    painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 7, 7);

    // The name and up to two lines below it are centred vertically.
    const QFont nameFont = Theme::font(14, true);
    const QFont infoFont = Theme::font(12);
    const int right = controlLayout->itemAt(0)->geometry().right();
    QRect words(textLeft, 0, right - textLeft, height());
    const QRect infoArea = QFontMetrics(infoFont).boundingRect(words, Qt::TextWordWrap, info);
    const int nameHeight = QFontMetrics(nameFont).height();
    words.setTop((height() - nameHeight - infoArea.height()) / 2);
    painter.setPen(Theme::text());
    painter.setFont(nameFont);
    painter.drawText(words, Qt::AlignLeft | Qt::AlignTop, title);
    painter.setPen(infoIsRefusal ? Theme::colourOf(KX::KXGesture::LongPress) : Theme::quietText());
    painter.setFont(infoFont);
    painter.drawText(words.adjusted(0, nameHeight, 0, 0), Qt::TextWordWrap, info);
}

} // namespace Terminal
