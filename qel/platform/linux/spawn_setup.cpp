#include <qel/platform/linux/spawn_setup_p.h>

#include <qel/platform/seams_p.h>

#include <fcntl.h>
#include <unistd.h>

namespace qel::platform {

std::vector<char*> textPointers(const std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (const std::string& text : texts) pointers.push_back(const_cast<char*>(text.c_str()));
    pointers.push_back(nullptr);
    return pointers;
}

SpawnSetup::SpawnSetup(Group group) {
    posix_spawnattr_init(&m_attributes);
    posix_spawn_file_actions_init(&m_actions);
    sigset_t all;
    sigset_t none;
    sigfillset(&all);
    sigemptyset(&none);
    posix_spawnattr_setsigdefault(&m_attributes, &all);
    posix_spawnattr_setsigmask(&m_attributes, &none);
    int flags = POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK;
    if (group == Group::Own) flags |= POSIX_SPAWN_SETPGROUP; // number 0 means a new group of the program
    if (group == Group::OwnSession) flags |= POSIX_SPAWN_SETSID;
    posix_spawnattr_setflags(&m_attributes, static_cast<short>(flags));
}

SpawnSetup::~SpawnSetup() {
    posix_spawn_file_actions_destroy(&m_actions);
    posix_spawnattr_destroy(&m_attributes);
}

void SpawnSetup::connectStream(int stream, int descriptor) {
    posix_spawn_file_actions_adddup2(&m_actions, descriptor, stream);
}

void SpawnSetup::muteStream(int stream) {
    posix_spawn_file_actions_addopen(&m_actions, stream, "/dev/null", O_RDWR, 0);
}

void SpawnSetup::setDirectory(const std::string& directory) {
    posix_spawn_file_actions_addchdir_np(&m_actions, directory.c_str());
}

int SpawnSetup::start(pid_t& child, const char* path, char* const* arguments) {
    posix_spawn_file_actions_addclosefrom_np(&m_actions, 3);
    if (const FileError forced = forcedFault(Operation::Spawn)) return forced.value();
    return posix_spawn(&child, path, &m_actions, &m_attributes, arguments, environ);
}

} // namespace qel::platform
