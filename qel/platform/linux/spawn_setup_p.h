// What a program is started with by posix_spawn: clean signals, its three streams and no other descriptor.
#pragma once

#include <string>
#include <vector>

#include <csignal>
#include <spawn.h>
#include <sys/types.h>

namespace qel::platform {

/// The texts as the null-terminated list that the system's calls take.
/// @owner the pointers last as long as @p texts stay as they are.
std::vector<char*> textPointers(const std::vector<std::string>& texts);

/// The attributes and actions of posix_spawn. Signals start at their defaults, none is blocked.
class SpawnSetup {
public:
    /// How the program relates to the others of its terminal.
    enum class Group { Callers, Own, OwnSession };

    explicit SpawnSetup(Group group);
    ~SpawnSetup();
    SpawnSetup(const SpawnSetup&) = delete;
    SpawnSetup& operator=(const SpawnSetup&) = delete;

    /// Gives the program a copy of @p descriptor as @p stream, which is 0, 1 or 2.
    void connectStream(int stream, int descriptor);
    /// Connects @p stream to nothing.
    void muteStream(int stream);
    /// Starts the program in a folder of its own.
    void setDirectory(const std::string& directory);
    /// Starts the program with no descriptors but the streams. @return 0 or the system's code.
    int start(pid_t& child, const char* path, char* const* arguments);

private:
    posix_spawnattr_t m_attributes;
    posix_spawn_file_actions_t m_actions;
};

} // namespace qel::platform
