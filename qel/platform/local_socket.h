// Stream sockets between processes of one machine, and the identity of the peer.
#pragma once

#include <qel/platform/api.h>
#include <qel/platform/file_system.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace qel::platform {

/// The user who opened an accepted connection, as reported by the system.
struct PeerIdentity {
    std::uint32_t user = 0;                ///< effective user
    std::uint32_t group = 0;               ///< effective group
    std::vector<std::uint32_t> moreGroups; ///< the supplementary groups
};

// A socket is a FileHandle: it closes itself, and no child inherits it. Only waitForSockets blocks; other
// calls that would have to wait return std::errc::resource_unavailable_try_again.

/// Creates a socket that listens at the path @p path, which must be free and at most 107 bytes long.
/// @param mode  permission bits of the path; only users who may write to it can connect.
QEL_API FileError listenLocally(FileHandle& listener, const char* path, std::uint32_t mode);
/// Accepts the next connection from the listener's queue and reads the identity of its peer.
QEL_API FileError acceptLocally(FileHandle& connection, PeerIdentity& peer, const FileHandle& listener);
/// Connects to the socket that listens at @p path.
/// @errors std::errc::connection_refused if no process listens there any more.
QEL_API FileError connectLocally(FileHandle& connection, const char* path);
/// Creates two sockets that are connected to each other.
QEL_API FileError makeSocketPair(FileHandle& a, FileHandle& b);

/// Sends some of the bytes. If the peer is gone, it returns std::errc::broken_pipe and raises no signal.
QEL_API FileError sendSome(const FileHandle& socket, const void* data, std::size_t size, std::size_t& done);
/// Receives the bytes that have arrived, up to @p size; @p done is 0 once the peer will send nothing more.
QEL_API FileError receiveSome(const FileHandle& socket, void* data, std::size_t size, std::size_t& done);
/// Notifies the peer that nothing more will be sent; receiving still works.
QEL_API FileError endSending(const FileHandle& socket);

/// A socket to watch, and the result of waitForSockets().
struct SocketWatch {
    const FileHandle* socket = nullptr; ///< must be open
    bool forReceiving = false;          ///< wake up when something has arrived or the peer is gone
    bool forSending = false;            ///< wake up when something can be sent
    bool canReceive = false;            ///< result: receiveSome() or acceptLocally() will not wait
    bool canSend = false;               ///< result: sendSome() will not wait
};

/// Waits until one of @p sockets is ready for what it is watched for, @p timeoutMs have passed, or a signal
/// arrived, and stores the result for each.
/// @param timeoutMs  milliseconds; 0 only checks, a negative value waits without limit.
QEL_API FileError waitForSockets(std::span<SocketWatch> sockets, int timeoutMs);

/// Returns the effective user of this process.
QEL_API std::uint32_t userId();
/// Returns the number of the user @p name; nothing if there is no such user. May query the network, depending
/// on how the system is configured.
QEL_API std::optional<std::uint32_t> findUser(const std::string& name);
/// Returns the number of the group @p name; nothing if there is no such group. May query the network,
/// depending on how the system is configured.
QEL_API std::optional<std::uint32_t> findGroup(const std::string& name);

} // namespace qel::platform
