#include <qel/platform/child_process.h>

#include <qel/platform/linux/exit_code_p.h>
#include <qel/platform/linux/file_system_p.h>
#include <qel/platform/linux/spawn_setup_p.h>
#include <qel/platform/process_run.h>

#include <array>
#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace qel::platform {

namespace {

constexpr int kFirstFreeDescriptor = 3;

/// Moves @p handle to a descriptor above the three standard streams, in case the host was started without
/// one.
FileError leaveStandardStreams(FileHandle& handle) {
    if (handle.id() >= kFirstFreeDescriptor) return {};
    int moved = -1;
    const FileError error = perform(
        Operation::Open, [&] { return moved = fcntl(handle.id(), F_DUPFD_CLOEXEC, kFirstFreeDescriptor); });
    if (!error) handle = FileHandle(moved);
    return error;
}

/// Returns the path for posix_spawn; for a program with a folder the system itself reports that it is
/// missing.
std::string pathOf(const std::string& program) {
    std::string path = findProgram(program);
    return path.empty() && program.find('/') != std::string::npos ? program : path;
}

FileError errorOf(int code) {
    return {code, std::system_category()};
}

FileError signalProcess(std::int64_t id, int number) {
    const bool isNumber = id == static_cast<pid_t>(id);
    return isNumber && kill(static_cast<pid_t>(id), number) == 0 ? FileError()
                                                                 : errorOf(isNumber ? errno : ESRCH);
}

} // namespace

FileError makePipe(Pipe& pipe, std::size_t capacity) {
    std::array<int, 2> ends;
    if (const FileError error = perform(Operation::MakePipe, [&] { return pipe2(ends.data(), O_CLOEXEC); }))
        return error;
    pipe = {FileHandle(ends[0]), FileHandle(ends[1])};
    if (const FileError error = leaveStandardStreams(pipe.reading)) return error;
    if (const FileError error = leaveStandardStreams(pipe.writing)) return error;
    fcntl(pipe.writing.id(), F_SETPIPE_SZ, static_cast<int>(capacity)); // may fail: users have a limit
    return {};
}

FileError setNonBlocking(const FileHandle& handle) {
    const int flags = fcntl(handle.id(), F_GETFL);
    if (flags < 0 || fcntl(handle.id(), F_SETFL, flags | O_NONBLOCK) < 0) return lastFileError();
    return {};
}

FileError startChild(std::int64_t& id, const ChildStart& start, const FileHandle& input,
                     const FileHandle& output, const FileHandle& error) {
    const std::string path = pathOf(start.program);
    if (path.empty()) return errorOf(ENOENT);
    SpawnSetup setup(SpawnSetup::Group::Own);
    setup.connectStream(STDIN_FILENO, input.id());
    setup.connectStream(STDOUT_FILENO, output.id());
    setup.connectStream(STDERR_FILENO, error.id());
    if (!start.workingDirectory.empty()) setup.setDirectory(start.workingDirectory);
    pid_t child = 0;
    const int code = setup.start(child, path.c_str(), textPointers(start.arguments).data());
    if (code != 0) return errorOf(code);
    id = child;
    return {};
}

FileError collectChild(std::int64_t id, bool& ended, int& exitCode) {
    int status = 0;
    pid_t collected = 0;
    const FileError error = perform(
        Operation::Wait, [&] { return collected = waitpid(static_cast<pid_t>(id), &status, WNOHANG); });
    ended = !error && collected != 0;
    if (ended) exitCode = exitCodeOf(status);
    return error;
}

FileError killProcess(std::int64_t id) {
    return id > 0 ? signalProcess(id, SIGKILL) : errorOf(ESRCH);
}

FileError interruptProcessGroup(std::int64_t id) {
    return id > 0 ? signalProcess(-id, SIGINT) : errorOf(ESRCH);
}

FileError ProcessHandle::open(std::int64_t id) {
    long descriptor = -1; // the system marks it close-on-exec
    const FileError error =
        perform(Operation::Open, [&] { return descriptor = syscall(SYS_pidfd_open, id, 0); });
    if (!error) m_handle = FileHandle(static_cast<int>(descriptor));
    return error;
}

FileError ProcessHandle::kill() {
    return syscall(SYS_pidfd_send_signal, m_handle.id(), SIGKILL, nullptr, 0) == 0 ? FileError()
                                                                                   : lastFileError();
}

FileError ProcessHandle::waitForAny(const std::vector<ProcessHandle>& processes, int timeoutMs,
                                    std::vector<bool>& ended) {
    std::vector<pollfd> entries;
    entries.reserve(processes.size());
    for (const ProcessHandle& process : processes) entries.push_back({process.m_handle.id(), POLLIN, 0});
    ended.assign(processes.size(), false);
    if (const FileError forced = forcedFault(Operation::Wait)) return forced;
    if (poll(entries.data(), entries.size(), timeoutMs) < 0) return lastFileError();
    for (std::size_t i = 0; i < entries.size(); ++i) ended[i] = entries[i].revents != 0;
    return {};
}

} // namespace qel::platform
