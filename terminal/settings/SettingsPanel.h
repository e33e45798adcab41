#pragma once

#include "events/KXEvent.h"
#include "terminal/settings/InputSettings.h"

#include <QVector>
#include <QWidget>

namespace Terminal {

class ButtonRow;
class NumberRow;
class SettingRow;
class SwitchRow;

/// The settings. Fingers and keys change them, and changes apply at once.
///
/// One row is chosen: Tab chooses the next row, the encoder changes its value, and Return presses its button.
class SettingsPanel : public QWidget {
    Q_OBJECT

public:
    /// \p settings must outlive the panel.
    explicit SettingsPanel(InputSettings& settings, QWidget* parent = nullptr);

    /// Handles the operator's input. Call it only while the panel is shown.
    void takeInput(const KX::KXInputEvent& event);

    /// In the order of Tab.
    const QVector<SettingRow*>& rows() const;
    int chosenRow() const;

    NumberRow& numberRow(KX::KXInputSetting setting) const;
    SwitchRow& acceptRow() const;
    ButtonRow& defaultsRow() const;

protected:
    void hideEvent(QHideEvent* event) override;

private:
    void addRow(SettingRow* row);
    void choose(int row);

    QVector<NumberRow*> numbers; // by setting
    SwitchRow* accept;
    ButtonRow* defaults;
    QVector<SettingRow*> allRows;
    int chosen = 0;
    bool returnIsDown = false;
};

} // namespace Terminal
