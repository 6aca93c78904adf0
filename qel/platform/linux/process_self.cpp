#include <qel/platform/file_system.h>
#include <qel/platform/linux/proc_file_p.h>
#include <qel/platform/process_self.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <string_view>
#include <vector>

#include <grp.h>
#include <sys/resource.h>
#include <unistd.h>

namespace qel::platform {

namespace {

constexpr std::string_view kDeletedMark = " (deleted)"; // the kernel appends it to the name of a removed file

/// Returns true if a user other than root logged in and started this process. The kernel keeps the number of
/// the login user through every change of rights; all bits set means that nobody logged in.
bool startedByOrdinaryUser() {
    if (getuid() != 0) return true;
    const std::string content = readProcFile("/proc/self/loginuid");
    std::string_view text = content;
    const std::uint64_t user = takeNumber(text).value_or(0);
    return user != 0 && user != 0xFFFFFFFFu;
}

bool belongsTo(gid_t group) {
    std::array<char, 4096> buffer;
    struct group entry;
    struct group* found = nullptr;
    if (getgrgid_r(group, &entry, buffer.data(), buffer.size(), &found) != 0 || !found) return false;
    constexpr std::array<std::string_view, 3> kNames{"sudo", "wheel", "admin"};
    return std::find(kNames.begin(), kNames.end(), std::string_view(entry.gr_name)) != kNames.end();
}

bool mayAskForRights() {
    const int count = getgroups(0, nullptr);
    if (count <= 0) return false;
    std::vector<gid_t> groups(static_cast<std::size_t>(count));
    const int got = getgroups(count, groups.data());
    groups.resize(static_cast<std::size_t>(std::max(0, got)));
    return std::any_of(groups.begin(), groups.end(), &belongsTo);
}

} // namespace

std::string executablePath() {
    std::string path;
    if (readSymLink(path, "/proc/self/exe")) return {};
    if (path.ends_with(kDeletedMark) && access(path.c_str(), F_OK) != 0) {
        path.resize(path.size() - kDeletedMark.size());
    }
    return path;
}

std::uint32_t processId() {
    return static_cast<std::uint32_t>(getpid());
}

bool isAdministrator() {
    return geteuid() == 0;
}

Elevation elevation() {
    if (isAdministrator()) return startedByOrdinaryUser() ? Elevation::Full : Elevation::Default;
    return mayAskForRights() ? Elevation::Limited : Elevation::Default;
}

void endProcess(int status) {
    _exit(status);
}

void breakPoint() {
    std::raise(SIGTRAP);
}

void disableCoreImages() {
    rlimit limit{};
    if (getrlimit(RLIMIT_CORE, &limit) != 0) return;
    limit.rlim_cur = std::min<rlim_t>(1, limit.rlim_max); // 1 also disables programs that collect core images
    setrlimit(RLIMIT_CORE, &limit);
}

std::string userLocaleName() {
    for (const char* name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        const char* value = std::getenv(name);
        if (value && *value) return value;
    }
    return "C";
}

} // namespace qel::platform
