#pragma once

#include <QAbstractButton>

namespace Terminal {

/// A button on the screen for a finger. It takes no keyboard focus; it shows the name of the key that does the
/// same.
class ScreenButton : public QAbstractButton {
    Q_OBJECT

public:
    /// The smallest side that a finger can hit.
    static constexpr int touchSize = 44;

    /// \param label  may have the name of a key after a tab: "Events\tF10"
    explicit ScreenButton(const QString& label, QWidget* parent = nullptr);

    void setTextSize(int pixelSize);

    /// Puts the name of the key below the text instead of beside it. The button becomes narrower.
    void setKeyBelow(bool below);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void paintTexts(QPainter& painter) const;
    QString words() const;
    QString keyName() const;

    int textSize = 14;
    bool keyBelow = false;
};

/// A switch that shows whether it is on. It takes no keyboard focus; its text names the key that does the same.
class SwitchButton : public QAbstractButton {
    Q_OBJECT

public:
    explicit SwitchButton(QWidget* parent = nullptr);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void paintKnob(QPainter& painter, const QRectF& track) const;
};

} // namespace Terminal
