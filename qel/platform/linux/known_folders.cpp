#include <qel/platform/known_folders.h>

#include <array>
#include <cstdlib>
#include <string_view>

#include <pwd.h>
#include <unistd.h>

namespace qel::platform {

namespace {

std::string withoutEndingSlashes(std::string_view path) {
    while (path.size() > 1 && path.ends_with('/')) path.remove_suffix(1);
    return std::string(path);
}

/// Returns the variable's value if it is an absolute path; the XDG base-directory specification says to
/// ignore others.
std::string absoluteVariable(const char* name) {
    const char* value = std::getenv(name);
    return value && *value == '/' ? withoutEndingSlashes(value) : std::string();
}

std::string homeFolder() {
    std::string home = absoluteVariable("HOME");
    if (!home.empty()) return home;
    std::array<char, 4096> buffer;
    passwd entry;
    passwd* found = nullptr;
    if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || !found) return {};
    const std::string_view path = entry.pw_dir ? entry.pw_dir : "";
    return path.starts_with('/') ? withoutEndingSlashes(path) : std::string();
}

std::string below(const std::string& folder, const char* path) {
    if (folder.empty()) return {};
    return (folder == "/" ? std::string() : folder) + "/" + path;
}

std::string variableOrBelowHome(const char* variable, const char* path) {
    const std::string folder = absoluteVariable(variable);
    return folder.empty() ? below(homeFolder(), path) : folder;
}

std::string firstAbsolutePath(std::string_view list) {
    while (!list.empty()) {
        const std::string_view path = list.substr(0, list.find(':'));
        if (path.starts_with('/')) return withoutEndingSlashes(path);
        list.remove_prefix(std::min(list.size(), path.size() + 1));
    }
    return {};
}

} // namespace

std::string userLocalDataFolder() {
    return variableOrBelowHome("XDG_DATA_HOME", ".local/share");
}

std::string userConfigFolder() {
    return variableOrBelowHome("XDG_CONFIG_HOME", ".config");
}

std::string commonDataFolder() {
    return "/var/lib";
}

std::string programsFolder() {
    return "/opt";
}

std::string userStartMenuFolder() {
    return below(userLocalDataFolder(), "applications");
}

std::string commonStartMenuFolder() {
    const char* list = std::getenv("XDG_DATA_DIRS");
    const std::string folder = firstAbsolutePath(list ? list : "");
    return below(folder.empty() ? "/usr/local/share" : folder, "applications");
}

} // namespace qel::platform
