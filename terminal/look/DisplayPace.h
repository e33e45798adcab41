#pragma once

#include "events/KXEvent.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <functional>
#include <vector>

namespace Terminal {

using ClassifiedEvents = std::vector<KX::KXInputEvent>;

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
/// After a pause, the events that the main loop takes in one turn go on when that turn is over. Events that follow
/// sooner go on together.
class DisplayPace : public QObject {
    Q_OBJECT

public:
    explicit DisplayPace(QObject* parent = nullptr);

    void take(const KX::KXInputEvent& event);

    /// Hands on the events that are held back.
    void flush();

    /// Forgets the events that are held back.
    void drop();

signals:
    /// At least one event, oldest first.
    void due(const ClassifiedEvents& events);

private:
    ClassifiedEvents waiting;
    RefreshPace pace;
};

} // namespace Terminal
