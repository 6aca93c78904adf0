// Child programs connected through pipes, and the system's list of processes.
#pragma once

#include <qel/platform/api.h>
#include <qel/platform/file_system.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace qel::platform {

/// A pipe: bytes written at one end are read at the other.
struct Pipe {
    FileHandle reading; ///< read() returns 0 bytes once nobody can write any more
    FileHandle writing; ///< write() accepts as many bytes as fit
};

/// Creates a pipe. No child inherits its ends, and neither end is one of the three standard streams.
/// @param capacity  the number of bytes that the pipe should hold while nobody reads; the system may grant
/// less.
QEL_API FileError makePipe(Pipe& pipe, std::size_t capacity);

/// Makes read() and write() of @p handle, and of descriptors copied from it, fail with
/// std::errc::resource_unavailable_try_again instead of waiting. The other end of a pipe is not affected.
QEL_API FileError setNonBlocking(const FileHandle& handle);

/// What a child is started with.
struct ChildStart {
    std::string program;                ///< a name without a slash is searched for in $PATH
    std::vector<std::string> arguments; ///< the child's arguments, starting with its own name
    std::string workingDirectory;       ///< empty for the caller's working directory
};

/// Starts a child that sees exactly three descriptors, which are copies of @p input, @p output and @p error.
/// The child starts a process group of its own, with all signals at their defaults. No shell is involved.
/// The caller collects the child with collectChild().
/// @param id  receives the number of the child if it was started.
/// @threads any thread, but not while another thread changes the environment. A string that contains a zero
/// byte is cut there.
QEL_API FileError startChild(std::int64_t& id, const ChildStart& start, const FileHandle& input,
                             const FileHandle& output, const FileHandle& error);

/// Checks, without waiting, whether the child @p id has ended, and if so removes it from the process table.
/// @param ended  receives true if the child has ended; this is reported only once.
/// @param exitCode  receives, if the child has ended, its exit status or 128 + the number of the signal that
/// ended it.
/// @errors std::errc::no_child_process if @p id is not a child of this process or was already collected.
QEL_API FileError collectChild(std::int64_t id, bool& ended, int& exitCode);

/// Kills the process @p id at once. The process cannot prevent it, and may even be stopped.
QEL_API FileError killProcess(std::int64_t id);

/// Sends the process group @p id the signal that Ctrl-C sends.
QEL_API FileError interruptProcessGroup(std::int64_t id);

/// A reference to a process, child or not. It keeps referring to that process after the process has ended.
class QEL_API ProcessHandle {
public:
    /// Opens a reference to the process @p id.
    FileError open(std::int64_t id);
    /// Kills the process at once.
    FileError kill();
    /// Returns true if open() succeeded.
    bool isOpen() const { return m_handle.isOpen(); }
    /// Returns a handle that can be read, as waitForSockets() understands it, once the process has ended.
    const FileHandle& handle() const { return m_handle; }

    /// Waits until one of @p processes has ended or @p timeoutMs have passed.
    /// @param timeoutMs  milliseconds; negative to wait without limit.
    /// @param ended  receives true for each process that has ended; all are false after a timeout.
    /// @errors std::errc::interrupted if a signal arrived first.
    static FileError waitForAny(const std::vector<ProcessHandle>& processes, int timeoutMs,
                                std::vector<bool>& ended);

private:
    FileHandle m_handle;
};

/// An entry in the list of processes.
struct ProcessEntry {
    std::int64_t id = 0; ///< the number of the process
    std::string name;    ///< the file name of its program, or the process's own name if that is not known
};

/// Lists the running processes. Processes that have ended but were not collected are left out.
QEL_API FileError listProcesses(std::vector<ProcessEntry>& processes);

/// Returns true if a process with this number exists and has not ended.
QEL_API bool isProcessRunning(std::int64_t id);

/// Returns the arguments of the process @p id, starting with its own name; empty if they are not known.
QEL_API std::vector<std::string> processArguments(std::int64_t id);

/// Reads when the process @p id was started, with a resolution of one hundredth of a second.
/// @return false if there is no such process.
QEL_API bool readProcessStart(std::int64_t id, FileTime& start);

} // namespace qel::platform
