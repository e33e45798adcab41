#pragma once

#include <QAbstractButton>
#include <QFont>

namespace Terminal {

/// Draws what all buttons of the terminal have in common: the face and its border, which show whether the button is
/// pressed or chosen.
void paintFace(QPainter& painter, const QAbstractButton& button, double corner);

/// The colour of a quiet label on the face of \p button.
QColor labelColour(const QAbstractButton& button);

/// A button on the screen for a finger. It takes no keyboard focus; it shows the name of the key that does the
/// same.
class ScreenButton : public QAbstractButton {
    Q_OBJECT

public:
    /// \param label  may have the name of a key after a tab: "Events\tF10"
    explicit ScreenButton(const QString& label, QWidget* parent = nullptr);

    /// The text is a sign such as an arrow, which is drawn large.
    void setSymbol(bool symbol);

    /// Puts the name of the key below the text instead of beside it. The button becomes narrower.
    void setKeyBelow(bool below);

    /// A key that does nothing now is not named; its room stays.
    void setKeyWorks(bool works);

    /// What \ref setText got before and after the tab.
    QString words() const;
    QString keyName() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void paintTexts(QPainter& painter) const;
    QFont wordsFont() const;
    QFont keyFont() const;

    bool isSymbol = false;
    bool keyBelow = false;
    bool keyWorks = true;
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
