#include <qel/platform/process_run.h>

#include <qel/platform/linux/exit_code_p.h>
#include <qel/platform/linux/orphan_start_p.h>
#include <qel/platform/linux/spawn_setup_p.h>
#include <qel/platform/seams_p.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <filesystem>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace qel::platform {

namespace {

bool isProgram(const std::string& path) {
    FileStatus status;
    return !readStatus(status, path.c_str()) && status.kind == FileKind::File &&
           access(path.c_str(), X_OK) == 0;
}

/// Waits for the end of @p child. @return its exit status, 128 + number for a signal, 0 if another thread
/// collected it.
int waitForExit(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) return 0;
    }
    return exitCodeOf(status);
}

RunResult runToEnd(const ProgramStart& start) {
    SpawnSetup setup(start.ownSession ? SpawnSetup::Group::OwnSession : SpawnSetup::Group::Callers);
    for (int stream = 0; stream < 3; ++stream) {
        if (start.quiet || fcntl(stream, F_GETFD) < 0) setup.muteStream(stream);
    }
    pid_t child = 0;
    const int code = setup.start(child, start.path, start.arguments);
    if (code != 0) return {false, code, 0};
    return {true, 0, waitForExit(child)};
}

RunResult runOnMachine(const std::vector<std::string>& arguments, const RunOptions& options) {
    const std::string path = arguments.empty() ? std::string() : findProgram(arguments.front());
    if (path.empty()) return {false, ENOENT, 0};
    std::vector<char*> pointers = textPointers(arguments);
    const ProgramStart start{path.c_str(), pointers.data(), options.detached,
                             options.detached || options.quiet};
    if (options.wait) return runToEnd(start);
    const int code = startOrphan(start);
    return {code == 0, code, 0};
}

std::atomic<RunFunction> g_run{&runOnMachine};

/// Returns the folders that $PATH lists; relative ones are left out.
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

void setRunFunction(RunFunction function) {
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
    resolved.front() = findProgram(resolved.front()); // absolute, so that no helper mistakes it for an option
    if (resolved.front().empty()) return {false, ENOENT, 0};
    if (means.graphicalSession && !means.pkexec.empty())
        return runWithPkexec(resolved, options, means.pkexec);
    if (!means.sudo.empty()) return runWithSudo(resolved, options, means.sudo);
    return {false, EACCES, 0};
}

} // namespace qel::platform
