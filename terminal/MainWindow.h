#pragma once

#include "terminal/EventPump.h"

#include <QWidget>

class EventModel;
class OperatorScreen;
class QLabel;
class SoftKeyBar;

/// The window of the terminal. It shows what \p model holds and knows nothing of where events come from.
class MainWindow : public QWidget {
    Q_OBJECT

public:
    explicit MainWindow(EventModel& model);

    /// Where the middle of a soft key is, in this window; \p number counts from 0.
    QPoint softKeyPosition(int number) const;

private:
    QWidget* makeHeader();
    void showEvents(const ClassifiedEvents& events);

    EventModel& model;
    QLabel* eventCount = nullptr;
    OperatorScreen* screen = nullptr;
    SoftKeyBar* softKeys = nullptr;
};
