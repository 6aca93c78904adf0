// What posix_spawn starts a program with: default signals, its three streams and no other descriptor.
#pragma once

#include <string>
#include <vector>

#include <csignal>
#include <spawn.h>
#include <sys/types.h>

namespace qel::platform {

/// Returns the strings as the null-terminated list that system calls expect.
/// @owner the pointers are valid while @p texts is unchanged.
std::vector<char*> textPointers(const std::vector<std::string>& texts);

/// The attributes and actions of posix_spawn. Signals start at their defaults, and none is blocked.
class SpawnSetup {
public:
    /// The process group and session of the program.
    enum class Group { Callers, Own, OwnSession };

    explicit SpawnSetup(Group group);
    ~SpawnSetup();
    SpawnSetup(const SpawnSetup&) = delete;
    SpawnSetup& operator=(const SpawnSetup&) = delete;

    /// Passes the program a copy of @p descriptor as @p stream, which is 0, 1 or 2.
    void connectStream(int stream, int descriptor);
    /// Connects @p stream to the null device.
    void muteStream(int stream);
    /// Sets the program's working directory.
    void setDirectory(const std::string& directory);
    /// Starts the program with no descriptors except the streams. @return 0 or the system's error code.
    int start(pid_t& child, const char* path, char* const* arguments);

private:
    posix_spawnattr_t m_attributes;
    posix_spawn_file_actions_t m_actions;
};

} // namespace qel::platform
