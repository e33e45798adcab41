#pragma once

#include "platform/KXCANMessage.h"
#include "terminal/keypad/KeypadBus.h"
#include "terminal/keypad/KeypadFrames.h"

#include <QTimer>
#include <QVector>
#include <QWidget>

#include <functional>

class QGridLayout;

namespace Terminal {

class KeypadKey;
class KeypadKnob;

/// The keypad on the CAN bus, drawn on the screen: up to 16 keys and a knob.
///
/// It is a separate device that happens to be drawn here. It sends frames, and its key events come back like those
/// of any keypad. Mouse and touch on it are no input of the screen.
class KeypadPanel : public QWidget {
    Q_OBJECT

public:
    explicit KeypadPanel(QWidget* parent = nullptr);

    /// Shows the keys of \p layout, labelled with the toolkit's names. \p layout must have passed
    /// KX::KeyLayout::check. Call it once.
    void setLayoutOfKeys(const KX::CANRemoteOptions& layout);

    /// The key with this number on the keypad; null if there is none.
    KeypadKey* key(int number) const;

    KeypadKnob& knob() const;

    /// Shows what another keypad with this layout has sent: the keys that are down and the position of the knob.
    /// Sends nothing.
    void showFrame(const KX::KXCANMessage& frame);

    /// Shows name and state of the bus from now on. \p look is asked every \ref lookIntervalMs.
    void watchBus(std::function<BusStatus()> look);

    /// Shows why frames no longer reach the bus; empty when they do.
    void showFault(const QString& text);
    QString fault() const;

    /// What the title says of the bus: "can0: up".
    QString busText() const;

    static constexpr int lookIntervalMs = 500;

signals:
    void frameChanged(const KX::KXCANMessage& frame);

protected:
    void paintEvent(QPaintEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void changeEvent(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void addKey(int entry, const KX::KeyOptionsCANRemote& options);
    void setKey(int entry, bool pressed);
    void arrange();
    int columnsThatFit() const;
    void placeKeys();
    void lookAtBus();
    void paintTitle(QPainter& painter) const;
    int titleHeight() const;

    KeypadFrames frames;
    QGridLayout* grid;
    KeypadKnob* turningKnob;
    QVector<KeypadKey*> keys; // by entry of the layout; null for none
    int columns;
    QString faultText;
    std::function<BusStatus()> lookNow;
    BusStatus bus;
    QTimer looks;
};

} // namespace Terminal
