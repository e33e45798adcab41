#pragma once

#include <QAbstractButton>

namespace Terminal {

/// A key of the keypad. It takes no keyboard focus.
class KeypadKey : public QAbstractButton {
    Q_OBJECT

public:
    KeypadKey(int number, const QString& label, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    int number;
};

} // namespace Terminal
