#pragma once

#include <QAbstractButton>

namespace Terminal {

/// A switch that shows whether it is on. It takes no keyboard focus; its text names the key that does the same.
class SwitchButton : public QAbstractButton {
    Q_OBJECT

public:
    explicit SwitchButton(QWidget* parent = nullptr);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace Terminal
