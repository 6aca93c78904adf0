// JsonRpcChannel: how the bytes of a peer get in and out.
#pragma once

#include <qel/platform/file_system.h>
#include <qel/platform/local_socket.h>

#include <cstddef>
#include <utility>

namespace qelserver {

/// The bytes of one peer. Nothing here blocks: what can't be done now returns
/// std::errc::resource_unavailable_try_again.
class JsonRpcChannel {
public:
    virtual ~JsonRpcChannel() = default;

    /// Receives what has arrived, up to @p size bytes; @p done is 0 if the peer will send nothing more.
    virtual qel::platform::FileError receive(char* data, std::size_t size, std::size_t& done) = 0;
    /// Sends some of the bytes.
    virtual qel::platform::FileError send(const char* data, std::size_t size, std::size_t& done) = 0;
    /// What to wait for; null if there is nothing to wait for and every pass has to look.
    virtual const qel::platform::FileHandle* socket() const { return nullptr; }
};

/// The bytes of a peer behind a local socket.
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
