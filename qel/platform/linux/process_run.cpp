#include <qel/platform/process_run.h>

#include <qel/platform/linux/orphan_start_p.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace qel::platform {

namespace {

bool isProgram(const std::string& path) {
    struct stat info {};
    return stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode) && access(path.c_str(), X_OK) == 0;
}

std::vector<char*> argumentPointers(const std::vector<std::string>& arguments) {
    std::vector<char*> pointers;
    for (const std::string& argument : arguments) pointers.push_back(const_cast<char*>(argument.c_str()));
    pointers.push_back(nullptr);
    return pointers;
}

/// The attributes and actions of posix_spawn that give a program clean signals and its three streams alone.
class SpawnSetup {
public:
    explicit SpawnSetup(const ProgramStart& start) {
        posix_spawnattr_init(&m_attributes);
        posix_spawn_file_actions_init(&m_actions);
        setSignals(start.ownSession);
        setStreams(start.quiet);
    }
    ~SpawnSetup() {
        posix_spawn_file_actions_destroy(&m_actions);
        posix_spawnattr_destroy(&m_attributes);
    }
    SpawnSetup(const SpawnSetup&) = delete;
    SpawnSetup& operator=(const SpawnSetup&) = delete;

    int start(const ProgramStart& start, pid_t& child) {
        return posix_spawn(&child, start.path, &m_actions, &m_attributes, start.arguments, environ);
    }

private:
    void setSignals(bool ownSession) {
        sigset_t all;
        sigset_t none;
        sigfillset(&all);
        sigemptyset(&none);
        posix_spawnattr_setsigdefault(&m_attributes, &all);
        posix_spawnattr_setsigmask(&m_attributes, &none);
        const int session = ownSession ? POSIX_SPAWN_SETSID : 0;
        posix_spawnattr_setflags(
            &m_attributes, static_cast<short>(POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK | session));
    }

    void setStreams(bool quiet) {
        for (int stream = 0; stream < 3; ++stream) {
            if (!quiet && fcntl(stream, F_GETFD) >= 0) continue;
            posix_spawn_file_actions_addopen(&m_actions, stream, "/dev/null", O_RDWR, 0);
        }
        posix_spawn_file_actions_addclosefrom_np(&m_actions, 3);
    }

    posix_spawnattr_t m_attributes;
    posix_spawn_file_actions_t m_actions;
};

/// The exit status of @p child after its end, 128 + number for a signal, 0 where somebody else collected it.
int waitForExit(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) return 0;
    }
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

RunResult runToEnd(const ProgramStart& start) {
    pid_t child = 0;
    const int code = SpawnSetup(start).start(start, child);
    if (code != 0) return {false, code, 0};
    return {true, 0, waitForExit(child)};
}

RunResult runOnMachine(const std::vector<std::string>& arguments, const RunOptions& options) {
    const std::string path = arguments.empty() ? std::string() : findProgram(arguments.front());
    if (path.empty()) return {false, ENOENT, 0};
    std::vector<char*> pointers = argumentPointers(arguments);
    const ProgramStart start{path.c_str(), pointers.data(), options.detached,
                             options.detached || options.quiet};
    if (options.wait) return runToEnd(start);
    const int code = startOrphan(start);
    return {code == 0, code, 0};
}

std::atomic<RunFunction> g_run{&runOnMachine};

/// The places where $PATH tells to look for programs; relative ones are left out.
std::vector<std::string> programFolders() {
    const char* variable = std::getenv("PATH");
    std::string_view list = variable ? variable : "/usr/local/bin:/usr/bin:/bin";
    std::vector<std::string> folders;
    while (!list.empty()) {
        const std::string_view folder = list.substr(0, list.find(':'));
        if (folder.starts_with('/')) folders.emplace_back(folder);
        list.remove_prefix(std::min(list.size(), folder.size() + 1));
    }
    return folders;
}

bool isVariableSet(const char* name) {
    const char* value = std::getenv(name);
    return value && *value;
}

RunResult runWithPkexec(std::vector<std::string> arguments, const RunOptions& options,
                        const std::string& pkexec) {
    constexpr int kRefused = 126;
    constexpr int kNotAuthorized = 127;
    arguments.insert(arguments.begin(), pkexec);
    RunResult result = runProcess(arguments, options);
    if (result.exitCode == kRefused || result.exitCode == kNotAuthorized)
        return {false, EACCES, result.exitCode};
    return result;
}

RunResult runWithSudo(std::vector<std::string> arguments, const RunOptions& options,
                      const std::string& sudo) {
    RunOptions quietly;
    quietly.quiet = true;
    const RunResult check = runProcess({sudo, "-n", "-v"}, quietly);
    if (!check.started || check.exitCode != 0) return {false, EACCES, check.exitCode};
    arguments.insert(arguments.begin(), {sudo, "-n", "--"});
    return runProcess(arguments, options);
}

} // namespace

RunResult runProcess(const std::vector<std::string>& arguments, const RunOptions& options) {
    return g_run.load()(arguments, options);
}

void replaceRunProcess(RunFunction function) {
    g_run.store(function ? function : &runOnMachine);
}

std::string findProgram(std::string_view name) {
    if (name.empty()) return {};
    if (name.find('/') != std::string_view::npos) {
        std::error_code error;
        const std::string path = std::filesystem::absolute(std::filesystem::path(name), error).string();
        return !error && isProgram(path) ? path : std::string();
    }
    for (const std::string& folder : programFolders()) {
        std::string path = folder + "/" + std::string(name);
        if (isProgram(path)) return path;
    }
    return {};
}

ElevationMeans elevationMeans() {
    return {geteuid() == 0, isVariableSet("DISPLAY") || isVariableSet("WAYLAND_DISPLAY"),
            findProgram("pkexec"), findProgram("sudo")};
}

RunResult runElevated(const std::vector<std::string>& arguments, const RunOptions& options,
                      const ElevationMeans& means) {
    if (means.administrator) return runProcess(arguments, options);
    std::vector<std::string> resolved = arguments;
    if (resolved.empty()) return {false, ENOENT, 0};
    resolved.front() = findProgram(resolved.front()); // absolute, so that no helper takes it for an option
    if (resolved.front().empty()) return {false, ENOENT, 0};
    if (means.graphicalSession && !means.pkexec.empty())
        return runWithPkexec(resolved, options, means.pkexec);
    if (!means.sudo.empty()) return runWithSudo(resolved, options, means.sudo);
    return {false, EACCES, 0};
}

} // namespace qel::platform
