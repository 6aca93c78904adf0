#include <qel/platform/local_socket.h>

#include <qel/platform/linux/file_system_p.h>

#include <cstring>
#include <grp.h>
#include <poll.h>
#include <pwd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace qel::platform {

namespace {

constexpr int kSocketType = SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC;
constexpr int kWaitingConnections = 64;

FileError errorOf(int code) {
    return {code, std::system_category()};
}

FileError makeSocket(FileHandle& socket) {
    int id = -1;
    const FileError error =
        perform(Operation::MakeSocket, [&] { return id = ::socket(AF_UNIX, kSocketType, 0); });
    if (!error) socket = FileHandle(id);
    return error;
}

FileError makeAddress(sockaddr_un& address, const char* path) {
    const std::size_t size = std::strlen(path);
    if (size == 0 || size >= sizeof(address.sun_path)) return errorOf(ENAMETOOLONG);
    address = {};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path, size);
    return {};
}

/// Binds the socket; its path gets the mode of @p socket, reduced by the process mask.
FileError bindWithMode(const FileHandle& socket, const sockaddr_un& address, std::uint32_t mode) {
    FileError error =
        perform(Operation::SetMode, [&] { return ::fchmod(socket.id(), static_cast<mode_t>(mode)); });
    if (error) return error;
    error = perform(Operation::Bind, [&] {
        return ::bind(socket.id(), reinterpret_cast<const sockaddr*>(&address), sizeof(address));
    });
    if (error) return error;
    return setMode(address.sun_path, mode);
}

FileError readOption(const FileHandle& socket, int option, void* data, socklen_t& size) {
    return perform(Operation::ReadPeer,
                   [&] { return ::getsockopt(socket.id(), SOL_SOCKET, option, data, &size); });
}

FileError readPeer(PeerIdentity& peer, const FileHandle& socket) {
    ucred credentials{};
    socklen_t size = sizeof(credentials);
    if (const FileError error = readOption(socket, SO_PEERCRED, &credentials, size)) return error;
    peer.user = credentials.uid;
    peer.group = credentials.gid;
    peer.moreGroups.resize(64);
    for (;;) {
        size = static_cast<socklen_t>(peer.moreGroups.size() * sizeof(gid_t));
        const FileError error = readOption(socket, SO_PEERGROUPS, peer.moreGroups.data(), size);
        peer.moreGroups.resize(error && error.value() != ERANGE ? 0 : size / sizeof(gid_t));
        if (error.value() != ERANGE) return {}; // without the list, the peer has only one group
    }
}

/// Calls @p find, a reentrant look-up in the system's databases, with a buffer that is large enough.
template <typename Record, typename Find>
bool findRecord(Record& record, Find find) {
    std::vector<char> buffer(1024);
    Record* found = nullptr;
    int code = 0;
    while ((code = find(&record, buffer.data(), buffer.size(), &found)) == ERANGE) {
        buffer.resize(buffer.size() * 2);
    }
    return code == 0 && found;
}

} // namespace

FileError listenLocally(FileHandle& listener, const char* path, std::uint32_t mode) {
    sockaddr_un address{};
    FileHandle socket;
    if (const FileError error = makeAddress(address, path)) return error;
    if (const FileError error = makeSocket(socket)) return error;
    if (const FileError error = bindWithMode(socket, address, mode)) return error;
    const FileError error =
        perform(Operation::Listen, [&] { return ::listen(socket.id(), kWaitingConnections); });
    if (error) return error;
    listener = std::move(socket);
    return {};
}

FileError acceptLocally(FileHandle& connection, PeerIdentity& peer, const FileHandle& listener) {
    int id = -1;
    const FileError error = perform(Operation::Accept, [&] {
        return id = ::accept4(listener.id(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    });
    if (error) return error;
    connection = FileHandle(id);
    return readPeer(peer, connection);
}

FileError connectLocally(FileHandle& connection, const char* path) {
    sockaddr_un address{};
    FileHandle socket;
    if (const FileError error = makeAddress(address, path)) return error;
    if (const FileError error = makeSocket(socket)) return error;
    const FileError error = perform(Operation::Connect, [&] {
        return ::connect(socket.id(), reinterpret_cast<const sockaddr*>(&address), sizeof(address));
    });
    if (!error) connection = std::move(socket);
    return error;
}

FileError makeSocketPair(FileHandle& a, FileHandle& b) {
    int ids[2];
    const FileError error =
        perform(Operation::MakeSocket, [&] { return ::socketpair(AF_UNIX, kSocketType, 0, ids); });
    if (error) return error;
    a = FileHandle(ids[0]);
    b = FileHandle(ids[1]);
    return {};
}

FileError sendSome(const FileHandle& socket, const void* data, std::size_t size, std::size_t& done) {
    ssize_t count = 0;
    const FileError error = perform(Operation::Send, size, [&] {
        return count = ::send(socket.id(), data, size, MSG_NOSIGNAL | MSG_DONTWAIT);
    });
    done = error ? 0 : static_cast<std::size_t>(count);
    return error;
}

FileError receiveSome(const FileHandle& socket, void* data, std::size_t size, std::size_t& done) {
    ssize_t count = 0;
    const FileError error = perform(Operation::Receive, size,
                                    [&] { return count = ::recv(socket.id(), data, size, MSG_DONTWAIT); });
    done = error ? 0 : static_cast<std::size_t>(count);
    return error;
}

FileError endSending(const FileHandle& socket) {
    return perform(Operation::Send, [&] { return ::shutdown(socket.id(), SHUT_WR); });
}

FileError waitForSockets(std::span<SocketWatch> sockets, int timeoutMs) {
    std::vector<pollfd> polled(sockets.size());
    for (std::size_t i = 0; i < sockets.size(); ++i) {
        const int events = (sockets[i].forReceiving ? POLLIN : 0) | (sockets[i].forSending ? POLLOUT : 0);
        polled[i] = {events != 0 ? sockets[i].socket->id() : -1, static_cast<short>(events), 0};
    }
    if (const FileError forced = forcedFault(Operation::Wait)) return forced;
    const int count = ::poll(polled.data(), polled.size(), timeoutMs);
    if (count < 0 && errno != EINTR) return lastFileError();
    for (std::size_t i = 0; i < sockets.size(); ++i) {
        const int found = count > 0 ? polled[i].revents : 0;
        const bool isGone = (found & (POLLERR | POLLHUP | POLLNVAL)) != 0;
        sockets[i].canReceive = sockets[i].forReceiving && ((found & POLLIN) != 0 || isGone);
        sockets[i].canSend = sockets[i].forSending && ((found & POLLOUT) != 0 || isGone);
    }
    return {};
}

std::uint32_t userId() {
    return ::geteuid();
}

std::optional<std::uint32_t> findUser(const std::string& name) {
    passwd record{};
    const bool isFound =
        findRecord(record, [&](passwd* into, char* buffer, std::size_t size, passwd** found) {
            return ::getpwnam_r(name.c_str(), into, buffer, size, found);
        });
    return isFound ? std::optional<std::uint32_t>(record.pw_uid) : std::nullopt;
}

std::optional<std::uint32_t> findGroup(const std::string& name) {
    group record{};
    const bool isFound = findRecord(record, [&](group* into, char* buffer, std::size_t size, group** found) {
        return ::getgrnam_r(name.c_str(), into, buffer, size, found);
    });
    return isFound ? std::optional<std::uint32_t>(record.gr_gid) : std::nullopt;
}

} // namespace qel::platform
