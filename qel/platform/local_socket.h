// Stream sockets between the processes of one machine, and who is at their other end.
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

/// Who made the connection that a socket accepted, as the system vouches for it.
struct PeerIdentity {
    std::uint32_t user = 0;                ///< effective user
    std::uint32_t group = 0;               ///< effective group
    std::vector<std::uint32_t> moreGroups; ///< the supplementary groups
};

// A socket is a FileHandle: it closes itself and no child inherits it. Nothing here blocks but
// waitForSockets: what can't be done at once gives std::errc::resource_unavailable_try_again.

/// Makes a socket that listens under the name @p path, which must be free and of at most 107 bytes.
/// @param mode  permission bits of the name; who can't write to it can't connect.
QEL_API FileError listenLocally(FileHandle& listener, const char* path, std::uint32_t mode);
/// Takes the next connection off the listener's queue, and finds out who made it.
QEL_API FileError acceptLocally(FileHandle& connection, PeerIdentity& peer, const FileHandle& listener);
/// Connects to the socket that listens under the name @p path; std::errc::connection_refused when nobody does
/// any more.
QEL_API FileError connectLocally(FileHandle& connection, const char* path);
/// Makes two sockets that are connected with each other.
QEL_API FileError makeSocketPair(FileHandle& a, FileHandle& b);

/// Sends some of the bytes. A peer that is gone gives std::errc::broken_pipe, never a signal.
QEL_API FileError sendSome(const FileHandle& socket, const void* data, std::size_t size, std::size_t& done);
/// Receives what has arrived, up to @p size bytes; @p done is 0 when the peer will send nothing more.
QEL_API FileError receiveSome(const FileHandle& socket, void* data, std::size_t size, std::size_t& done);
/// Tells the peer that nothing more will be sent; receiving goes on.
QEL_API FileError endSending(const FileHandle& socket);

/// A socket to watch, and what waitForSockets() found.
struct SocketWatch {
    const FileHandle* socket = nullptr; ///< must be open
    bool forReceiving = false;          ///< wake up when something has arrived, or the peer is gone
    bool forSending = false;            ///< wake up when something can be sent
    bool canReceive = false;            ///< found: receiveSome() or acceptLocally() has something to say
    bool canSend = false;               ///< found: sendSome() has something to say
};

/// Waits until one of @p sockets has what it is watched for, @p timeoutMs have passed, or a signal came, and
/// notes for each what it has. @param timeoutMs  0 only looks; negative waits without end.
QEL_API FileError waitForSockets(std::span<SocketWatch> sockets, int timeoutMs);

/// The effective user of this process.
QEL_API std::uint32_t userId();
/// The number of the user @p name; nothing when there is none. May ask the network, as the system is set up.
QEL_API std::optional<std::uint32_t> findUser(const std::string& name);
/// The number of the group @p name; nothing when there is none. May ask the network, as the system is set up.
QEL_API std::optional<std::uint32_t> findGroup(const std::string& name);

} // namespace qel::platform
