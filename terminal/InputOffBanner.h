#pragma once

#include <QAbstractButton>

namespace Terminal {

/// Says, large, that no input is taken. A touch is the way out, or the key that it names.
class InputOffBanner : public QAbstractButton {
    Q_OBJECT

public:
    explicit InputOffBanner(QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace Terminal
