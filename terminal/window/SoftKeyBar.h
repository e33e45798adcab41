#pragma once

#include "terminal/session/EventPump.h"

#include <QVector>
#include <QWidget>

namespace Terminal {

class SoftKey;

/// The row of soft keys. The last touched key shows how the library classified the touch.
class SoftKeyBar : public QWidget {
    Q_OBJECT

public:
    explicit SoftKeyBar(QWidget* parent = nullptr);

    void showEvents(const ClassifiedEvents& events);

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
