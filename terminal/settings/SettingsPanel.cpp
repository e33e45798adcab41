#include "terminal/settings/SettingsPanel.h"

#include "events/KXEventType.h"
#include "terminal/look/KeyCodes.h"
#include "terminal/look/Theme.h"
#include "terminal/settings/SettingRows.h"

#include <QGridLayout>
#include <QLabel>

namespace Terminal {

namespace {

constexpr int columns = 2;
constexpr int rowGap = 6;

QLabel* makeHint() {
    auto* hint = new QLabel(QStringLiteral("Tab: next row.  Up, Down, wheel: change.  Return: press."));
    QPalette palette = hint->palette();
    palette.setColor(QPalette::WindowText, Theme::quietText());
    hint->setPalette(palette);
    return hint;
}

} // namespace

SettingsPanel::SettingsPanel(InputSettings& settings, QWidget* parent)
    : QWidget(parent), accept(new SwitchRow(settings, KX::KXInputSetting::AcceptInput)),
      defaults(new ButtonRow(QStringLiteral("Defaults"), QStringLiteral("Restore"))) {
    for (const KX::KXSettingRow& row : KX::settingTable)
        if (!row.isSwitch())
            numbers.append(new NumberRow(settings, row.name));
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(rowGap);
    auto* grid = new QGridLayout;
    grid->setSpacing(rowGap);
    column->addLayout(grid, 1);
    column->addWidget(makeHint());
    for (NumberRow* row : qAsConst(numbers))
        addRow(row);
    addRow(accept);
    addRow(defaults);
    for (int i = 0; i < allRows.size(); ++i)
        grid->addWidget(allRows[i], i / columns, i % columns);

    defaults->showInfo(QStringLiteral("Of durations and factors"));
    connect(defaults, &ButtonRow::pressed, &settings, &InputSettings::restoreDefaults);
    choose(0);
}

void SettingsPanel::addRow(SettingRow* row) {
    const int number = allRows.size();
    allRows.append(row);
    connect(row, &SettingRow::touched, this, [this, number] { choose(number); });
}

void SettingsPanel::choose(int row) {
    chosen = row;
    for (int i = 0; i < allRows.size(); ++i)
        allRows[i]->setChosen(i == chosen);
}

void SettingsPanel::takeInput(const KX::KXInputEvent& event) {
    if (event.eventType == KX::ENCODER_MOVE_EVENT) {
        allRows[chosen]->turn(event.keyCode == KX::KX_KEY_UP ? event.count : -event.count);
    } else if (KeyCodes::isPress(event)) {
        returnIsDown = event.keyCode == KX::KX_KEY_RETURN;
        if (event.keyCode == KX::KX_KEY_TAB)
            choose((chosen + 1) % allRows.size());
    } else if (event.eventType == KX::KEY_RELEASE_EVENT && event.keyCode == KX::KX_KEY_RETURN && returnIsDown) {
        // Only on release: if the press switched input off, the library would never get the release and would
        // report a long press.
        returnIsDown = false;
        allRows[chosen]->activate();
    }
}

void SettingsPanel::hideEvent(QHideEvent* event) {
    returnIsDown = false;
    QWidget::hideEvent(event);
}

const QVector<SettingRow*>& SettingsPanel::rows() const {
    return allRows;
}

int SettingsPanel::chosenRow() const {
    return chosen;
}

NumberRow& SettingsPanel::numberRow(KX::KXInputSetting setting) const {
    return *numbers.at(static_cast<int>(setting));
}

SwitchRow& SettingsPanel::acceptRow() const {
    return *accept;
}

ButtonRow& SettingsPanel::defaultsRow() const {
    return *defaults;
}

} // namespace Terminal
