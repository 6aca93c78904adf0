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

class ProcessPacketReader;
class ProcessPacketWriter;

/// Runs a child program and talks to it line by line, or by packets. Nothing ever waits: whoever drives the
/// object polls it, and each call takes from the pipes and gives to them what is possible at this moment.
///
/// A Process is spawned once; where that failed, again with another program. Its streams close one by one and
/// stay closed. The end of the child closes none of them, since this side keeps the child's ends open: what
/// the child wrote can be read behind its end, and a last line without a line feed is delivered once the
/// stream was closed, as terminate() does.
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
/// The destructor kills a child that still runs. No ended child stays in the process table: one that is
/// killed without waiting is collected by the next operation of any Process, the next pass of System or
/// System::deinitialize(). Without System every kill waits for the end of the child.
/// @threads one thread at a time; different objects on different threads at once.
class QEL_API Process : public Object {
    QEL_CLASS(Process, Object)

public:
    /// The longest line that is delivered, in bytes. A longer one is dropped with an error in the log, and
    /// reading goes on behind its end.
    static constexpr size_t kMaxLineBytes = size_t{64} << 20;

    /// No child yet.
    Process();
    /// Closes the streams and kills a child that still runs, without waiting for it.
    ~Process() override;
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    /// Starts @p path without arguments.
    bool spawn(const String& path);
    /// Starts a program.
    /// @param path  the program; a name without a slash is looked for in $PATH.
    /// @param args  the whole command line, the program's name first. Each entry reaches the child as it is,
    ///              whatever its characters: there is no shell. When empty, path stands for it.
    /// @param workingDirectory  null or empty for the own one.
    /// @param quiet  leaves out the line about the start, and the first of the two about a failure.
    /// @return whether the child runs. @errors logged; see error().
    bool spawn(const String& path, const List<String>& args, const char* workingDirectory, bool quiet);

    /// Moves what can be moved between the pipes and the buffers.
    /// @return whether the child runs.
    bool tick();
    /// Closes the streams and kills the child; its exit status is -1 then.
    /// @param wait  waits for its end, for at most 10 s.
    /// @return false when the child could not be killed; true without a child.
    bool terminate(bool wait);

    /// Queues @p line and a line feed for the child's standard input; what fits goes out at once.
    void writeLine(const String& line);
    /// Takes the next line that the child wrote to standard output, without its end. A line ends at a line
    /// feed or a carriage return, so that "\r\n" gives an empty line too.
    /// @return false while there is none.
    bool readLine(String& line);
    /// As readLine(), of standard error.
    bool readErrLine(String& line);
    /// Ends the child's standard input; what has not gone out yet is lost.
    void closeStdin();

    /// Whether standard output is closed and all of it was read.
    bool isEOF();
    /// Whether standard error is closed and all of it was read.
    bool isErrEOF();
    /// Whether anything came in since the last call; a caller sleeps only if not.
    bool popReadAction();

    /// Whether a call of the system has failed.
    bool error() const;
    /// The system's text for the last failure; empty without one.
    String errorText() const;
    /// What the child ended with: its exit status, 128 + the number of the signal that ended it, or -1 after
    /// terminate(); 0 before its end.
    int exitStatus() const;
    /// The system's number of the child, also after its end; 0 before spawn().
    int64 getProcessId() const;
    /// Sends the child and its process group what Ctrl-C sends. Without a child does nothing.
    void sendBreak();

    /// What reads packets from the child's standard output and logs its other lines.
    /// @owner this object, which makes it on first use.
    ProcessPacketReader* getPacketReader();
    /// What writes packets to the child's standard input.
    /// @owner this object, which makes it on first use.
    ProcessPacketWriter* getPacketWriter();

    /// The number of this process. @threads any thread.
    static int64 currentId();
    /// Whether a process runs whose program has the file name @p name; case does not count.
    /// @threads any thread, as for the next six.
    static bool exists(const char* name);
    /// Whether the process @p pid runs.
    static bool exists(int64 pid);
    /// The numbers of all processes whose program has the file name @p name; case does not count.
    static Set<int64> getAllProcessId(String name);
    /// The command line of a process, its arguments joined by blanks and those with blanks in double quotes;
    /// empty when it can't be told.
    static String getCommandLineOfProcess(int64 pid);
    /// When the process @p pid was started, in ticks of 100 ns since 1601-01-01 UTC; 0 when it can't be told.
    static int64 startTime(int64 pid);
    /// Kills all processes whose program has the file name @p name, case aside, one after the other.
    /// @param exclude    numbers of processes to spare.
    /// @param timeoutMs  how long to wait for the end of each.
    /// @return how many there were. @errors logged.
    static int terminateProcessesByName(const char* name, const Set<int64>& exclude, uint32 timeoutMs);
    /// Waits until no process runs that does now and whose program has one of the file names @p names.
    /// @param timeoutMs  below 0 for ever.
    /// @return false when some still run, or when waiting failed, which is logged.
    static bool waitForProcessesToTerminate(const Set<String>& names, int timeoutMs);

protected:
    /// Takes over streams that are open already, in place of a child's: from @p output and @p error lines are
    /// read, to @p input they are written. They must not block. A closed handle is a closed stream.
    void connect(platform::FileHandle input, platform::FileHandle output, platform::FileHandle error);

    /// Moves what can be moved on all three streams: writeStdin(), readStdout(), readStderr().
    void processIO();
    /// Gives the child what is queued for it, as far as it takes it.
    void writeStdin();
    /// Takes what the child wrote to standard output, as far as there is room.
    void readStdout();
    /// Takes what the child wrote to standard error, as far as there is room.
    void readStderr();
    /// One of the child's two outputs.
    enum class Output { Stdout, Stderr };
    /// Takes the next line of @p output; moves on the streams only if no whole line waits.
    bool readLineInternal(Output output, String& line);
    /// Closes standard output for good; what was read before can still be taken.
    void closeStdout();
    /// Closes standard error for good; what was read before can still be taken.
    void closeStderr();
    /// Notes a failure for error() and errorText(). @param code  the system's.
    void setError(int64 code);

private:
    friend class AsyncSupervisor;
    friend class ProcessPacketReader;
    struct State;

    bool startChild(const String& path, const List<String>& args, const char* workingDirectory);
    void closeStreams();
    /// Returns how many bytes of @p output have been read and wait to be taken.
    size_t waitingBytes(Output output) const;
    /// Whether bytes of either output wait to be taken, as of the last time that the streams were moved.
    bool hasOutput() const;
    bool collect();
    void loseExitStatus(int64 code);

    bool m_readAction = false;
    std::unique_ptr<State> m_state;
};

} // namespace qel
