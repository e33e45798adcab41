#pragma once

#include "terminal/session/EventPump.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <functional>

namespace Terminal {

/// Limits how often something is drawn: nobody reads faster than \ref shortestIntervalMs.
///
/// The first request after a pause runs the refresh at once. Requests that come sooner share one refresh, as soon
/// as the interval is over.
class RefreshPace {
public:
    static constexpr int shortestIntervalMs = 40;

    /// \p refresh must call \ref noteRefresh.
    explicit RefreshPace(std::function<void()> refresh);

    /// Does nothing while a refresh is pending.
    void request();

    /// Replaces the pending refresh, if there is one, by a refresh in \p ms.
    void requestIn(int ms);

    /// The interval begins now. A pending refresh stays pending.
    void noteRefresh();

    /// Drops the pending refresh.
    void stop();

    bool isPending() const;

private:
    std::function<void()> refresh;
    QElapsedTimer sinceRefresh;
    QTimer timer;
};

/// Hands events on to the views in batches, because drawing costs more than anything else the terminal does.
///
/// The first event after a pause goes on at once. Events that follow sooner go on together.
class DisplayPace : public QObject {
    Q_OBJECT

public:
    explicit DisplayPace(QObject* parent = nullptr);

    void take(const ClassifiedEvents& events);

    /// Hands on the events that are held back.
    void flush();

signals:
    /// At least one event, oldest first.
    void due(const ClassifiedEvents& events);

private:
    ClassifiedEvents waiting;
    RefreshPace pace;
};

} // namespace Terminal
