#pragma once

#include "platform/KXCANMessage.h"
#include "terminal/KeypadFrames.h"

#include <QVector>
#include <QWidget>

class QGridLayout;

namespace Terminal {

class KeypadKey;
class KeypadKnob;

/// The keypad on the CAN bus, drawn on the screen: up to 16 keys and a knob.
///
/// It is a device of its own that happens to be drawn here. It sends frames, and what comes of them comes back
/// the way of any keypad's; mouse and touch on it are no input of the screen.
class KeypadPanel : public QWidget {
    Q_OBJECT

public:
    explicit KeypadPanel(QWidget* parent = nullptr);

    /// Shows the keys of \p layout, which has passed KeyLayout::check, named by the toolkit's keys. Once.
    void setLayoutOfKeys(const KX::CANRemoteOptions& layout);

    /// The key with that number on the keypad; null if there is none.
    KeypadKey* key(int number) const;

    KeypadKnob& knob() const;

    /// Shows what another keypad of this layout sent: which keys are down, and where the knob stands. Sends nothing.
    void showFrame(const KX::KXCANMessage& frame);

    /// Says why frames do not get onto the bus any more.
    void showFault(const QString& text);
    QString fault() const;

signals:
    void frameChanged(const KX::KXCANMessage& frame);

protected:
    void paintEvent(QPaintEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void addKey(int entry, const KX::KeyOptionsCANRemote& options);
    void setKey(int entry, bool pressed);

    KeypadFrames frames;
    QGridLayout* grid;
    KeypadKnob* turningKnob;
    QVector<KeypadKey*> keys; // by entry of the layout; null for none
    QString faultText;
};

} // namespace Terminal
