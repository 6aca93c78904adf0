// JsonRpcChannel: transports the bytes of one peer.
#pragma once

#include <qel/platform/file_system.h>
#include <qel/platform/local_socket.h>

#include <cstddef>
#include <utility>

namespace qelserver {

/// Receives from and sends to one peer without blocking. An operation that can't be done now returns
/// std::errc::resource_unavailable_try_again.
class JsonRpcChannel {
public:
    virtual ~JsonRpcChannel() = default;

    /// Receives what has arrived. @param size  the most bytes to receive. @param done  receives their number;
    /// 0 if the peer will send nothing more.
    virtual qel::platform::FileError receive(char* data, std::size_t size, std::size_t& done) = 0;
    /// Sends up to @p size bytes. @param done  receives how many were sent.
    virtual qel::platform::FileError send(const char* data, std::size_t size, std::size_t& done) = 0;
    /// Returns the socket to wait for; null if the channel must be polled in every pass.
    virtual const qel::platform::FileHandle* socket() const { return nullptr; }
};

/// A channel through a local socket.
class JsonRpcSocketChannel : public JsonRpcChannel {
public:
    explicit JsonRpcSocketChannel(qel::platform::FileHandle socket) : m_socket(std::move(socket)) {}

    qel::platform::FileError receive(char* data, std::size_t size, std::size_t& done) override {
        return qel::platform::receiveSome(m_socket, data, size, done);
    }
    qel::platform::FileError send(const char* data, std::size_t size, std::size_t& done) override {
        return qel::platform::sendSome(m_socket, data, size, done);
    }
    const qel::platform::FileHandle* socket() const override { return &m_socket; }

private:
    const qel::platform::FileHandle m_socket;
};

} // namespace qelserver
