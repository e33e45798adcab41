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

    /// Closes the descriptor silently, as a driver does that loses its device.
    void vanish();

    /// Takes what is there, at most \p most bytes.
    std::string read(std::size_t most = 4096);

    std::atomic<bool> peerAccepts{true};
    /// False: the end point is not connected although its descriptor is open, as if the device had gone silent.
    std::atomic<bool> alive{true};
    std::atomic<int> reconnects{0};
    /// Runs inside reconnect, before it does anything.
    std::function<void()> onReconnect;

private:
    void connect();

    std::atomic<int> descriptor{-1};
    std::atomic<int> peer{-1};
};

/// Reads when called and counts the calls.
class RecordingHandler : public KX::KXEndPointHandler {
public:
    void onEndPointReadable(KX::KXEndPoint* endPoint, KX::KXEndPointManager* manager) override;
    void onEndPointReconnected(KX::KXEndPoint* endPoint) override;
    void onEndPointDisconnected(KX::KXEndPoint* endPoint) override;

    std::atomic<int> readable{0};
    std::atomic<int> reconnected{0};
    std::atomic<int> disconnected{0};

    /// Used on the waiting thread only.
    std::string text;
    KX::KXEndPointManager* lastManager = nullptr;

    /// Run on the waiting thread after the call was counted.
    std::function<void(SocketEndPoint&, KX::KXEndPointManager&)> onReadable;
    std::function<void(SocketEndPoint&)> onDisconnected;
};
