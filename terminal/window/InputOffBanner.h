#pragma once

#include <QAbstractButton>

namespace Terminal {

/// Says in large letters that input is off. A touch on it, or the key that it names, switches input on.
class InputOffBanner : public QAbstractButton {
    Q_OBJECT

public:
    explicit InputOffBanner(QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace Terminal
