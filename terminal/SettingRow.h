#pragma once

#include <QWidget>

class QHBoxLayout;

namespace Terminal {

/// A row of the settings: what it is about, something said below, and to the right what changes it.
class SettingRow : public QWidget {
    Q_OBJECT

public:
    explicit SettingRow(const QString& name, QWidget* parent = nullptr);

    /// Says something in ordinary words below the name.
    void showInfo(const QString& text);

    /// Says there why something was refused, until the next info.
    void showRefusal(const QString& text);
    QString infoText() const;
    bool saysRefusal() const;

    /// Whether the keys change this row; it looks so, and its controls name the keys.
    virtual void setChosen(bool chosen);
    bool isChosen() const;

    /// A turn of the knob, positive to the right.
    virtual void turn(int steps);

    /// The key Return.
    virtual void activate();

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

signals:
    /// The operator has put a finger on the row.
    void touched();

protected:
    static constexpr int controlHeight = 50;

    QHBoxLayout& controls() const;

    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

private:
    QString title;
    QString info;
    bool infoIsRefusal = false;
    bool chosenByKeys = false;
    QHBoxLayout* controlLayout;
};

} // namespace Terminal
