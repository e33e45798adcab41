#pragma once

#include "events/KXEventKind.h"

#include <QAbstractButton>

#include <optional>

namespace Terminal {

/// A key beside the screen whose function the screen names. Touch-sized; it takes no keyboard focus.
class SoftKey : public QAbstractButton {
    Q_OBJECT

public:
    SoftKey(int number, const QString& label, QWidget* parent = nullptr);

    /// Shows as what the last press of this key was recognised; nothing for an ordinary look.
    void showRecognised(std::optional<KX::KXGesture> gesture);

    std::optional<KX::KXGesture> recognised() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void paintFace(QPainter& painter) const;
    void paintTexts(QPainter& painter) const;

    int number;
    std::optional<KX::KXGesture> recognisedGesture;
};

} // namespace Terminal
