// Process: a child program with its three standard streams on pipes.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

#include <cstddef>
#include <memory>

namespace qel::platform {

class FileHandle;

} // namespace qel::platform

namespace qel {

namespace internal {
struct ChildOutput;
struct ProcessData;
} // namespace internal

class ProcessPacketReader;
class ProcessPacketWriter;

/// Runs a child program and exchanges lines or packets with it. No operation blocks unless it says so: the
/// owner polls the object, and each call reads from and writes to the pipes as much as is possible at that
/// moment.
///
/// A Process is spawned once; only after a failure may spawn() be called again. A closed stream stays closed.
/// The end of the child does not close the streams, because this object keeps the child's ends open: what the
/// child wrote can still be read after its end, and a last line without a line feed is delivered once the
/// stream is closed, for example by terminate().
///
/// @code
/// SmartPointer<Process> process(new Process());
/// process->spawn("/usr/bin/env");
/// String line;
/// bool running = true;
/// while (running) {
///     running = process->tick();
///     while (process->readLine(line)) logging::info() << line;
///     if (!process->popReadAction()) System::sleep(1);
/// }
/// @endcode
///
/// The destructor kills a child that is still running. No ended child stays in the process table: a child
/// that is killed without waiting is collected by the next operation of any Process, the next pass of System
/// or System::deinitialize(). Without System, every kill waits for the end of the child.
/// @threads one thread at a time; different objects may be used on different threads at the same time.
class QEL_API Process : public Object {
    QEL_CLASS(Process, Object)

public:
    /// The longest line that is delivered, in bytes. A longer line is dropped with an error in the log, and
    /// reading continues after it.
    static constexpr size_t kMaxLineBytes = size_t{64} << 20;

    /// Creates an object without a child.
    Process();
    /// Closes the streams and kills a child that is still running, without waiting for its end.
    ~Process() override;
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    /// Starts @p path without arguments.
    bool spawn(const String& path);
    /// Starts a program.
    /// @param path  the program; a name without a slash is searched in $PATH.
    /// @param args  the whole command line, beginning with the program's name. Each entry is passed to the
    ///              child unchanged, because no shell is involved. If it is empty, @p path is used.
    /// @param workingDirectory  null or empty for the working directory of this process.
    /// @param quiet  true to omit the log line about the start, and the first of the two about a failure.
    /// @return true if the child was started. @errors logged; see error().
    bool spawn(const String& path, const List<String>& args, const char* workingDirectory, bool quiet);

    /// Transfers as many bytes as possible between the pipes and the buffers.
    /// @return true if the child is running.
    bool tick();
    /// Closes the streams and kills the child, whose exit status is then -1.
    /// @param wait  true to wait at most 10 s for its end.
    /// @return false if the child could not be killed; true if there is no child.
    bool terminate(bool wait);

    /// Queues @p line and a line feed for the child's standard input, and writes as much as possible at once.
    void writeLine(const String& line);
    /// Takes the next line that the child wrote to standard output, without its line end. A line ends at a
    /// line feed or a carriage return, so that "\r\n" adds an empty line.
    /// @return false if no complete line has arrived.
    bool readLine(String& line);
    /// As readLine(), for standard error.
    bool readErrLine(String& line);
    /// Closes the child's standard input; bytes that were not written yet are lost.
    void closeStdin();

    /// Returns true if standard output is closed and all of it was read.
    bool isEOF();
    /// Returns true if standard error is closed and all of it was read.
    bool isErrEOF();
    /// Returns true if anything was received since the last call. A caller that polls sleeps only if it
    /// returns false.
    bool popReadAction();

    /// Returns true if a system call has failed.
    bool error() const;
    /// Returns the system's text for the last failure; empty if nothing has failed.
    String errorText() const;
    /// Returns the exit status of the child; 128 + the number of the signal that ended it, -1 after
    /// terminate(), 0 before its end.
    int exitStatus() const;
    /// Returns the process id of the child, also after its end; 0 before spawn().
    int64 getProcessId() const;
    /// Sends the signal of Ctrl-C to the child and its process group. Does nothing without a child.
    void sendBreak();

    /// Returns the reader of packets from the child's standard output, which logs all other lines.
    /// @owner this object, which creates it on first use.
    ProcessPacketReader* getPacketReader();
    /// Returns the writer of packets to the child's standard input.
    /// @owner this object, which creates it on first use.
    ProcessPacketWriter* getPacketWriter();

    /// Returns the id of this process. @threads any thread.
    static int64 currentId();
    /// Returns true if a process is running whose program has the file name @p name, ignoring case.
    /// @threads any thread, as for the next six.
    static bool exists(const char* name);
    /// Returns true if the process @p pid is running.
    static bool exists(int64 pid);
    /// Returns the ids of all processes whose program has the file name @p name, ignoring case.
    static Set<int64> getAllProcessId(String name);
    /// Returns the command line of a process, its arguments joined by spaces and those with spaces in double
    /// quotes; empty if it can't be determined.
    static String getCommandLineOfProcess(int64 pid);
    /// Returns the start time of the process @p pid in units of 100 ns since 1601-01-01 UTC; 0 if it can't be
    /// determined.
    static int64 startTime(int64 pid);
    /// Kills all processes whose program has the file name @p name, ignoring case, one after the other.
    /// @param exclude    ids of processes that are not killed.
    /// @param timeoutMs  how long to wait for the end of each, in milliseconds.
    /// @return the number of these processes. @errors logged.
    static int terminateProcessesByName(const char* name, const Set<int64>& exclude, uint32 timeoutMs);
    /// Waits until all processes have ended that are running now and whose program has one of the file names
    /// @p names.
    /// @param timeoutMs  the longest wait in milliseconds; negative for no limit.
    /// @return false if some are still running, or if waiting failed, which is logged.
    static bool waitForProcessesToTerminate(const Set<String>& names, int timeoutMs);

protected:
    /// Uses streams that are already open instead of a child's: lines are read from @p output and @p error,
    /// and written to @p input. They must be non-blocking. A closed handle counts as a closed stream.
    void connect(platform::FileHandle input, platform::FileHandle output, platform::FileHandle error);

    /// Calls writeStdin(), readStdout() and readStderr().
    void processIO();
    /// Writes as many queued bytes as possible to the child.
    void writeStdin();
    /// Reads what the child wrote to standard output while there is room.
    void readStdout();
    /// Reads what the child wrote to standard error while there is room.
    void readStderr();
    /// The two outputs of the child.
    enum class Output { Stdout, Stderr };
    /// Takes the next line of @p output; reads from the stream only if no complete line is buffered.
    bool readLineInternal(Output output, String& line);
    /// Closes standard output; buffered lines can still be taken.
    void closeStdout();
    /// Closes standard error; buffered lines can still be taken.
    void closeStderr();
    /// Stores a failure for error() and errorText(). @param code  the system's error code.
    void setError(int64 code);

private:
    friend class AsyncSupervisor;
    friend class ProcessPacketReader;

    internal::ChildOutput& outputOf(Output output) const;
    bool startChild(const String& path, const List<String>& args, const char* workingDirectory);
    void closeStreams();
    /// Returns how many bytes of @p output are buffered.
    size_t waitingBytes(Output output) const;
    /// Returns true if bytes of either output were buffered when the streams were last read.
    bool hasOutput() const;
    /// Waits until the child has written something or has ended, until bytes that wait for it can be written,
    /// until @p wake can be read, or until @p timeoutMs milliseconds have passed.
    /// @return false if waiting is not possible at present.
    bool waitForActivity(const platform::FileHandle& wake, int timeoutMs);
    bool collect();
    void loseExitStatus(int64 code);

    bool m_readAction = false;
    std::unique_ptr<internal::ProcessData> m_data;
};

} // namespace qel
