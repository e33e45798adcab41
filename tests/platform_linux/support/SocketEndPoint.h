#pragma once

#include "platform/KXEndPoint.h"
#include "platform/KXEndPointHandler.h"

#include <atomic>
#include <functional>
#include <string>
#include <vector>

/// One side of a stream connection; the test plays the other side.
class SocketEndPoint : public KX::KXEndPoint {
public:
    SocketEndPoint();
    ~SocketEndPoint() override;

    int getReadEndPointID() const override;
    int getWriteEndPointID() const override;
    bool isConnected() const override;
    int reconnect() override;

    void peerSends(const std::string& text);
    void peerHangsUp();
    void ownerCloses();

    /// As a driver does that loses its device: the descriptor is closed and nobody is told.
    void vanish();

    /// Takes what is there, at most \p most bytes.
    std::string read(std::size_t most = 4096);

    std::atomic<bool> peerAccepts{true};
    /// False: the end point knows better than its descriptor, as a driver that misses the device's sign of life.
    std::atomic<bool> alive{true};
    std::atomic<int> reconnects{0};
    /// Runs inside reconnect, before it does anything.
    std::function<void()> onReconnect;

private:
    void connect();

    std::atomic<int> descriptor{-1};
    std::atomic<int> peer{-1};
};

/// Reads what it is told of and notes every call.
class RecordingHandler : public KX::KXEndPointHandler {
public:
    void onEndPointReadable(KX::KXEndPoint* endPoint, KX::KXEndPointManager* manager) override;
    void onEndPointReconnected(KX::KXEndPoint* endPoint) override;
    void onEndPointDisconnected(KX::KXEndPoint* endPoint) override;

    std::atomic<int> readable{0};
    std::atomic<int> reconnected{0};
    std::atomic<int> disconnected{0};

    /// Touched on the waiting thread only.
    std::string text;
    KX::KXEndPointManager* lastManager = nullptr;

    /// Run on the waiting thread after the call was noted.
    std::function<void(SocketEndPoint&, KX::KXEndPointManager&)> onReadable;
    std::function<void(SocketEndPoint&)> onDisconnected;
};
