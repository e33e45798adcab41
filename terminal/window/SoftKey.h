#pragma once

#include "events/KXEventKind.h"

#include <QAbstractButton>

#include <optional>

namespace Terminal {

/// A key beside the screen. The screen shows its function. It is large enough for a finger and takes no keyboard
/// focus.
class SoftKey : public QAbstractButton {
    Q_OBJECT

public:
    SoftKey(int number, const QString& label, QWidget* parent = nullptr);

    /// Shows how the last press of this key was classified; nothing restores the normal look.
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
