// Child programs on pipes, and the system's list of processes.
#pragma once

#include <qel/platform/api.h>
#include <qel/platform/file_system.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace qel::platform {

/// A pipe: bytes go in at one end and come out at the other.
struct Pipe {
    FileHandle reading; ///< read() gives 0 bytes when nobody can write any more
    FileHandle writing; ///< write() takes what fits
};

/// Makes a pipe whose ends no child inherits and neither of which is one of the three standard streams.
/// @param capacity  bytes that it holds while nobody reads; the system may give less.
QEL_API FileError makePipe(Pipe& pipe, std::size_t capacity);

/// From now on read() and write() of @p handle, and of the descriptors that it was copied to, fail with
/// std::errc::resource_unavailable_try_again instead of waiting. The other end of a pipe is not affected.
QEL_API FileError setNonBlocking(const FileHandle& handle);

/// What a child starts with.
struct ChildStart {
    std::string program;                ///< a name without a slash is looked for in $PATH
    std::vector<std::string> arguments; ///< what the child sees, its own name first
    std::string workingDirectory;       ///< empty for the caller's
};

/// Starts a child that sees exactly three descriptors, which are copies of @p input, @p output and @p error.
/// It begins a process group of its own, with all signals at their defaults. No shell is involved.
/// The caller collects it by collectChild().
/// @param id  the child's number, when started.
/// @threads any thread that does not run beside a change of the environment. The texts must not hold zero
///          bytes (what follows one is not seen).
QEL_API FileError startChild(std::int64_t& id, const ChildStart& start, const FileHandle& input,
                             const FileHandle& output, const FileHandle& error);

/// Looks, without waiting, whether the child @p id has ended, and takes it off the process table then.
/// @param ended     whether it has, which is told once.
/// @param exitCode  its exit status, or 128 + the number of the signal that ended it; when ended.
/// @errors std::errc::no_child_process when it is none or was collected by others.
QEL_API FileError collectChild(std::int64_t id, bool& ended, int& exitCode);

/// Ends the process @p id at once; it can do nothing about it, even where it is stopped.
QEL_API FileError killProcess(std::int64_t id);

/// Sends the process group of @p id what Ctrl-C sends.
QEL_API FileError interruptProcessGroup(std::int64_t id);

/// A hold on a process, child or not: it goes on meaning that process after the end of it.
class QEL_API ProcessHandle {
public:
    /// Takes hold of the process @p id.
    FileError open(std::int64_t id);
    /// Ends it at once.
    FileError kill();
    /// Whether open() succeeded.
    bool isOpen() const { return m_handle.isOpen(); }

    /// Waits until one of @p processes has ended or @p timeoutMs have passed.
    /// @param timeoutMs  below 0 for ever.
    /// @param ended  set for each that has; none when the time is over.
    /// @errors std::errc::interrupted when a signal came first.
    static FileError waitForAny(const std::vector<ProcessHandle>& processes, int timeoutMs,
                                std::vector<bool>& ended);

private:
    FileHandle m_handle;
};

/// A line of the list of processes.
struct ProcessEntry {
    std::int64_t id = 0; ///< the process's number
    std::string name;    ///< file name of its program, or what it calls itself where that can't be told
};

/// Lists the processes that run at this moment, those that ended and were not collected left out.
QEL_API FileError listProcesses(std::vector<ProcessEntry>& processes);

/// Whether a process of this number exists and has not ended.
QEL_API bool isProcessRunning(std::int64_t id);

/// The arguments of the process @p id, its own name first; empty when it can't be told.
QEL_API std::vector<std::string> processArguments(std::int64_t id);

/// When the process @p id was started, as far as the system knows: in hundredths of a second.
/// @return false when there is none.
QEL_API bool readProcessStart(std::int64_t id, FileTime& start);

} // namespace qel::platform
