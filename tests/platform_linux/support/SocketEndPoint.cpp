#include "support/SocketEndPoint.h"

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <unistd.h>

namespace {

void closeDescriptor(std::atomic<int>& descriptor) {
    const int closing = descriptor.exchange(-1);
    if (closing >= 0)
        close(closing);
}

} // namespace

SocketEndPoint::SocketEndPoint() {
    connect();
}

SocketEndPoint::~SocketEndPoint() {
    ownerCloses();
    peerHangsUp();
}

void SocketEndPoint::connect() {
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends), 0);
    descriptor = ends[0];
    peer = ends[1];
}

int SocketEndPoint::getReadEndPointID() const {
    return descriptor;
}

int SocketEndPoint::getWriteEndPointID() const {
    return descriptor;
}

bool SocketEndPoint::isConnected() const {
    return alive && descriptor >= 0;
}

int SocketEndPoint::reconnect() {
    ++reconnects;
    if (onReconnect)
        onReconnect();
    ownerCloses();
    peerHangsUp();
    if (!peerAccepts)
        return 20;
    connect();
    return 0;
}

void SocketEndPoint::peerSends(const std::string& text) {
    ASSERT_EQ(send(peer, text.data(), text.size(), MSG_NOSIGNAL), static_cast<ssize_t>(text.size()));
}

void SocketEndPoint::peerHangsUp() {
    closeDescriptor(peer);
}

void SocketEndPoint::ownerCloses() {
    closeDescriptor(descriptor);
}

void SocketEndPoint::vanish() {
    close(descriptor);
}

std::string SocketEndPoint::read(std::size_t most) {
    std::string text(most, '\0');
    const ssize_t taken = recv(descriptor, text.data(), most, 0);
    text.resize(taken > 0 ? static_cast<std::size_t>(taken) : 0);
    return text;
}

void RecordingHandler::onEndPointReadable(KX::KXEndPoint* endPoint, KX::KXEndPointManager* manager) {
    auto& socket = static_cast<SocketEndPoint&>(*endPoint);
    ++readable;
    lastManager = manager;
    text += socket.read();
    if (onReadable)
        onReadable(socket, *manager);
}

void RecordingHandler::onEndPointReconnected(KX::KXEndPoint*) {
    ++reconnected;
}

void RecordingHandler::onEndPointDisconnected(KX::KXEndPoint* endPoint) {
    ++disconnected;
    if (onDisconnected)
        onDisconnected(static_cast<SocketEndPoint&>(*endPoint));
}
