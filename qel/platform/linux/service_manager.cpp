#include <qel/platform/service_manager.h>

#include <qel/platform/known_folders.h>
#include <qel/platform/linux/file_system_p.h>

#include <charconv>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace qel::platform {

namespace {

std::uint64_t numberFrom(const char* variable) {
    const char* text = std::getenv(variable);
    std::uint64_t number = 0;
    if (text) std::from_chars(text, text + std::strlen(text), number);
    return number;
}

/// Fills in the address for a socket's name; a leading "@" denotes a name outside the file system.
/// @return its size; 0 if the name is not valid.
socklen_t fillAddress(sockaddr_un& address, const char* name) {
    const std::size_t size = name ? std::strlen(name) : 0;
    if (size < 2 || size >= sizeof address.sun_path || (*name != '/' && *name != '@')) return 0;
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, name, size + 1);
    if (*name == '@') address.sun_path[0] = '\0';
    return static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + size + (*name == '/' ? 1 : 0));
}

} // namespace

bool notifyServiceManager(std::string_view state) {
    sockaddr_un address{};
    const socklen_t size = fillAddress(address, std::getenv("NOTIFY_SOCKET"));
    if (size == 0) return false;
    int id = -1;
    if (perform(Operation::MakeSocket, [&] { return id = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0); }))
        return false;
    const FileHandle channel(id);
    std::size_t count = state.size();
    return !perform(Operation::Send, count, [&] {
        return sendto(channel.id(), state.data(), state.size(), MSG_NOSIGNAL,
                      reinterpret_cast<const sockaddr*>(&address), size);
    });
}

std::uint64_t watchdogMicroseconds() {
    const bool isForOther =
        std::getenv("WATCHDOG_PID") && numberFrom("WATCHDOG_PID") != static_cast<std::uint64_t>(getpid());
    return isForOther ? 0 : numberFrom("WATCHDOG_USEC");
}

std::string serviceUnitFolder(bool ofUser) {
    if (!ofUser) return "/etc/systemd/system";
    const std::string folder = userConfigFolder();
    return folder.empty() ? folder : folder + "/systemd/user";
}

} // namespace qel::platform
