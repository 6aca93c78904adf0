#include <qel/platform/linux/orphan_start_p.h>

#include <qel/platform/seams_p.h>

#include <array>
#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace qel::platform {

namespace {

// Everything up to exec runs in the copy of a process whose other threads no longer exist, possibly in the
// middle of an allocation: it makes only calls that are safe in a signal handler.

void resetSignals() {
    struct sigaction byDefault {};
    byDefault.sa_handler = SIG_DFL;
    for (int number = 1; number < NSIG; ++number) sigaction(number, &byDefault, nullptr);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

/// Connects the three streams of the program: to the caller's, or to the null device if @p quiet is set or
/// the caller has closed that stream.
void connectStreams(bool quiet) {
    for (int stream = 0; stream < 3; ++stream) {
        if (!quiet && fcntl(stream, F_GETFD) >= 0) continue;
        const int nowhere = open("/dev/null", O_RDWR);
        if (nowhere < 0 || nowhere == stream) continue;
        dup2(nowhere, stream);
        close(nowhere);
    }
}

/// Marks all descriptors except the three streams close-on-exec.
void closeOthersOnExec() {
    if (close_range(3, ~0U, CLOSE_RANGE_CLOEXEC) == 0) return;
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    for (rlim_t descriptor = 3; descriptor < limit.rlim_cur; ++descriptor) {
        fcntl(static_cast<int>(descriptor), F_SETFD, FD_CLOEXEC);
    }
}

void report(int channel, int code) {
    while (write(channel, &code, sizeof code) < 0 && errno == EINTR) {
    }
}

[[noreturn]] void becomeProgram(const ProgramStart& start, int channel) {
    resetSignals();
    if (start.ownSession) setsid();
    connectStreams(start.quiet);
    closeOthersOnExec();
    execve(start.path, start.arguments, environ);
    report(channel, errno);
    _exit(127);
}

[[noreturn]] void leaveProgramBehind(const ProgramStart& start, int channel) {
    const pid_t program = _Fork();
    if (program == 0) becomeProgram(start, channel);
    if (program < 0) report(channel, errno);
    _exit(0);
}

void waitFor(pid_t child) {
    while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
}

/// Reads the error that the child reported. A successful start closes the channel without a report.
int readReport(int channel) {
    int code = 0;
    while (read(channel, &code, sizeof code) < 0 && errno == EINTR) {
    }
    return code;
}

} // namespace

int startOrphan(const ProgramStart& start) {
    std::array<int, 2> ends;
    if (const FileError forced = forcedFault(Operation::Spawn)) return forced.value();
    if (pipe2(ends.data(), O_CLOEXEC) != 0) return errno;
    const int channel = fcntl(ends[1], F_DUPFD_CLOEXEC, 3); // above the three streams
    close(ends[1]);
    const pid_t child = channel < 0 ? -1 : fork();
    if (child == 0) leaveProgramBehind(start, channel);
    int code = child < 0 ? errno : 0;
    if (channel >= 0) close(channel);
    if (child > 0) {
        waitFor(child);
        code = readReport(ends[0]);
    }
    close(ends[0]);
    return code;
}

} // namespace qel::platform
