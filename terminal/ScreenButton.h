#pragma once

#include <QAbstractButton>

/// A button on the screen, for a finger. Takes no keyboard focus; a function key does the same.
class ScreenButton : public QAbstractButton {
    Q_OBJECT

public:
    /// \param label  with the name of the function key behind a tabulator, if there is one: "Events\tF10"
    explicit ScreenButton(const QString& label, QWidget* parent = nullptr);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
};
