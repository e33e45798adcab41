#pragma once

#include <QAbstractButton>

namespace Terminal {

/// A button on the screen, for a finger. Takes no keyboard focus; a key does the same and stands on the button.
class ScreenButton : public QAbstractButton {
    Q_OBJECT

public:
    /// The smallest side of what a finger can hit.
    static constexpr int touchSize = 44;

    /// \param label  with the name of the key behind a tabulator, if there is one: "Events\tF10"
    explicit ScreenButton(const QString& label, QWidget* parent = nullptr);

    void setTextSize(int pixelSize);

    /// Writes the name of the key below the text instead of beside it, which makes the button narrower.
    void setKeyBelow(bool below);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString words() const;
    QString keyName() const;

    int textSize = 14;
    bool keyBelow = false;
};

} // namespace Terminal
