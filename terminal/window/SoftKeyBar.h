#pragma once

#include "events/KXEventKind.h"
#include "terminal/look/DisplayPace.h"

#include <QAbstractButton>
#include <QVector>

#include <optional>

namespace Terminal {

/// A key beside the screen. The screen shows its function. It is large enough for a finger and takes no keyboard
/// focus.
class SoftKey : public QAbstractButton {
    Q_OBJECT

public:
    SoftKey(int number, const QString& label, QWidget* parent = nullptr);

    /// Shows the sign of how the last press of this key was classified; nothing removes the sign.
    void showRecognised(std::optional<KX::KXGesture> gesture);

    std::optional<KX::KXGesture> recognised() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void paintOffFace(QPainter& painter, double corner) const;
    void paintTexts(QPainter& painter) const;

    int number;
    std::optional<KX::KXGesture> recognisedGesture;
};

/// The row of soft keys. The last touched key shows how the library classified the touch.
class SoftKeyBar : public QWidget {
    Q_OBJECT

public:
    explicit SoftKeyBar(QWidget* parent = nullptr);

    void showEvents(const ClassifiedEvents& events);

    /// While input is off, no key does anything, and each looks so.
    void setSwitchedOff(bool off);

    const QVector<SoftKey*>& keys() const;

signals:
    /// A key went down in the window; \p number counts from 0.
    void keyWentDown(int number);

private:
    void showInput(const KX::KXInputEvent& event);
    void beginTouch();

    QVector<SoftKey*> softKeys;
    SoftKey* pressedKey = nullptr; // went down in the window; its classified press is still to come
    SoftKey* touchedKey = nullptr; // classified mouse events belong to this one now
};

} // namespace Terminal
