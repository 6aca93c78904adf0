// Helpers for tests with child programs.
#pragma once

#include <qel/platform/child_process.h>
#include <qel/platform/system_error.h>
#include <qel/process/killed_children.h>
#include <qel/process/process.h>
#include <qel/process/process_packet_reader.h>
#include <tests/support/log_capture.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/system_fixture.h>

#include <cerrno>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>

#include <sys/socket.h>
#include <sys/wait.h>

namespace qel::test {

/// Calls @p step until it returns true. Only the time limit of the test ends it otherwise.
inline void waitUntil(const std::function<bool()>& step) {
    while (!step()) std::this_thread::yield();
}

/// Returns the number of open descriptors of this process.
inline int countDescriptors() {
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
        count += !entry.path().empty();
    return count;
}

/// Returns true if this process has children, including ended ones. Does not collect them.
inline bool hasChildren() {
    siginfo_t any;
    return waitid(P_ALL, 0, &any, WEXITED | WNOHANG | WNOWAIT) == 0 || errno != ECHILD;
}

/// A Process that is connected to a socket instead of a child.
class Wire : public Process {
public:
    Wire() {
        disableSmartPointers();
        int ends[2];
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, ends), 0);
        far = platform::FileHandle(ends[1]);
        connect({}, platform::FileHandle(ends[0]), {});
    }
    void send(const std::string& text) {
        size_t done = 0;
        EXPECT_FALSE(far.write(text.data(), text.size(), done));
        EXPECT_EQ(done, text.size());
    }

    platform::FileHandle far;
};

/// Starts shell scripts as children and reads them.
class ProcessFixture : public SystemFixture {
protected:
    using Pointer = SmartPointer<Process>;

    /// Starts a shell script with @p argument as its $0, without a log line.
    static Pointer runShell(const std::string& script, const std::string& argument = "") {
        Pointer process(new Process());
        EXPECT_TRUE(process->spawn("/bin/sh", {"sh", "-c", script, argument}, nullptr, true));
        return process;
    }
    /// Waits for the next line of standard output.
    static std::string line(Process& process) { return next(process, &Process::readLine); }
    /// Waits for the next line of standard error.
    static std::string errorLine(Process& process) { return next(process, &Process::readErrLine); }
    /// Waits for the end of the child. @return its exit status.
    static int finish(Process& process) {
        waitUntil([&process] { return !process.tick(); });
        return process.exitStatus();
    }

private:
    static std::string next(Process& process, bool (Process::*read)(String&)) {
        String text;
        waitUntil([&] { return (process.*read)(text); });
        return text;
    }
};

} // namespace qel::test
