#include <qel/process/process.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/platform/child_process.h>
#include <qel/platform/local_socket.h>
#include <qel/platform/system_error.h>
#include <qel/process/command_text_p.h>
#include <qel/process/killed_children.h>
#include <qel/process/process_data_p.h>
#include <qel/process/process_wait_p.h>

namespace qel {

using platform::FileError;
using platform::FileHandle;

namespace {

constexpr size_t kPipeCapacity = 0x100000;
constexpr int kKillTimeoutMs = 10'000;
/// Enough to grow the buffer step by step for the longest line and to read a full pipe after it. More is not
/// read at once from a child that writes without line ends.
constexpr int kMaxPumpsPerLine = 32;

/// Creates the pipe of a stream. @param childReads  true if the child reads from it.
FileError openPipe(internal::ChildStream& stream, bool childReads) {
    platform::Pipe pipe;
    if (const FileError error = platform::makePipe(pipe, kPipeCapacity)) return error;
    stream.ownEnd = std::move(childReads ? pipe.writing : pipe.reading);
    stream.childEnd = std::move(childReads ? pipe.reading : pipe.writing);
    stream.wasClosed = false; // it may be set by a failed attempt
    return platform::setNonBlocking(stream.ownEnd);
}

bool isNothingNow(const FileError& error) {
    return error == std::errc::resource_unavailable_try_again;
}

/// Kills a child that was not collected yet, whose id therefore can't belong to another process.
FileError killChild(int64 id, bool wait) {
    bool ended = false;
    int exitCode = 0;
    FileError error = platform::collectChild(id, ended, exitCode);
    if (error || ended) return error;
    error = platform::killProcess(id);
    const bool isCollectedLater = Object::system() != nullptr; // by a pass or by the end of System
    std::vector<platform::ProcessHandle> handles(1);
    if ((wait || !isCollectedLater) && !handles.front().open(id))
        internal::waitForAll(handles, kKillTimeoutMs);
    internal::addKilledChild(id);
    internal::collectKilledChildren();
    return error;
}

} // namespace

FileError internal::ChildOutput::read(bool& gotData) {
    while (isOpen()) {
        const ByteSpan room = lines.room();
        if (room.empty()) break;
        size_t count = 0;
        if (const FileError error = ownEnd.read(room.data, room.size, count)) {
            return isNothingNow(error) ? FileError() : error;
        }
        if (count == 0) {
            close();
            break;
        }
        gotData = true;
        lines.append(count);
        if (count < room.size) break;
    }
    return {};
}

bool internal::ChildOutput::takeCompleteLine(String& line) {
    std::string_view text;
    LineSplitter::Found found = lines.take(text);
    for (; found == LineSplitter::Found::TooLong; found = lines.take(text)) {
        logging::error() << "[PROCESS] dropping a line of more than " << Process::kMaxLineBytes << " bytes";
    }
    if (found == LineSplitter::Found::Line) line.assign(text);
    return found == LineSplitter::Found::Line;
}

bool internal::ChildOutput::takeLine(String& line) {
    if (takeCompleteLine(line)) return true;
    std::string_view text;
    if (isOpen() || !lines.takeRest(text)) return false;
    line.assign(text);
    return true;
}

FileError internal::ChildInput::write() {
    while (isOpen() && !bytes.waiting().empty()) {
        const ConstByteSpan waiting = bytes.waiting();
        size_t count = 0;
        if (const FileError error = ownEnd.write(waiting.data, waiting.size, count)) {
            return isNothingNow(error) ? FileError() : error;
        }
        bytes.remove(count);
        if (count < waiting.size) break;
    }
    return {};
}

// --- child -----------------------------------------------------------------------------------------------

Process::Process() : m_data(std::make_unique<internal::ProcessData>()) {}

Process::~Process() {
    terminate(false);
}

bool Process::spawn(const String& path) {
    return spawn(path, {path}, nullptr, false);
}

bool Process::spawn(const String& path, const List<String>& args, const char* workingDirectory, bool quiet) {
    const String command = internal::commandText(args.empty() ? List<String>{path} : args);
    if (startChild(path, args, workingDirectory)) {
        if (!quiet)
            logging::verbose() << "[PID:" << getProcessId() << "] started process '" << command << "'";
        return true;
    }
    if (!quiet) {
        logging::error() << "starting process '" << command << "' failed, error: " << m_data->lastError;
    }
    logging::error() << "can not start subprocess " << path << " error: " << errorText();
    return false;
}

bool Process::startChild(const String& path, const List<String>& args, const char* workingDirectory) {
    internal::collectKilledChildren();
    internal::ProcessData& data = *m_data;
    if (data.id != 0) {
        setError(static_cast<int64>(std::errc::device_or_resource_busy));
        return false;
    }
    platform::ChildStart start;
    start.program = path;
    start.arguments.assign(args.begin(), args.end());
    if (args.empty()) start.arguments.push_back(path);
    if (workingDirectory) start.workingDirectory = workingDirectory;

    FileError error = openPipe(data.input, true);
    if (!error) error = openPipe(data.output, false);
    if (!error) error = openPipe(data.error, false);
    if (!error) {
        error = platform::startChild(data.id, start, data.input.childEnd, data.output.childEnd,
                                     data.error.childEnd);
    }
    data.isRunning = !error;
    if (!error) return true;
    setError(error.value());
    closeStreams();
    return false;
}

bool Process::tick() {
    processIO();
    internal::collectKilledChildren();
    return collect();
}

bool Process::collect() {
    internal::ProcessData& data = *m_data;
    if (!data.isRunning) return false;
    bool ended = false;
    if (const FileError error = platform::collectChild(data.id, ended, data.exitStatus)) {
        loseExitStatus(error.value());
        return false;
    }
    data.isRunning = !ended;
    return !ended;
}

// Other code collected the child, or SIGCHLD is ignored.
void Process::loseExitStatus(int64 code) {
    logging::error() << "Failed to retrieve process exit code, trying to terminate it";
    setError(code);
    if (!terminate(false)) logging::error() << "Unable to terminate invalid state process";
}

bool Process::terminate(bool wait) {
    closeStreams();
    internal::collectKilledChildren();
    internal::ProcessData& data = *m_data;
    if (!data.isRunning) return true;
    const FileError error = killChild(data.id, wait);
    if (error) setError(error.value());
    data.isRunning = false;
    data.exitStatus = -1;
    return !error;
}

void Process::sendBreak() {
    if (!m_data->isRunning) return;
    if (const FileError error = platform::interruptProcessGroup(m_data->id)) setError(error.value());
}

// --- streams ---------------------------------------------------------------------------------------------

void Process::connect(FileHandle input, FileHandle output, FileHandle error) {
    m_data->input.ownEnd = std::move(input);
    m_data->output.ownEnd = std::move(output);
    m_data->error.ownEnd = std::move(error);
}

void Process::processIO() {
    writeStdin();
    readStdout();
    readStderr();
}

void Process::writeStdin() {
    const FileError error = m_data->input.write();
    if (!error) return;
    setError(error.value());
    closeStdin();
}

void Process::readStdout() {
    const FileError error = m_data->output.read(m_readAction);
    if (error) setError(error.value());
    if (error || m_data->output.wasClosed) closeStdout();
}

void Process::readStderr() {
    const FileError error = m_data->error.read(m_readAction);
    if (!error) return;
    setError(error.value());
    closeStderr();
}

void Process::writeLine(const String& line) {
    internal::ChildInput& input = m_data->input;
    if (input.wasClosed) return;
    input.bytes.append(line.getConstByteSpan());
    input.bytes.append(ConstByteSpan::fromText("\n"));
    processIO();
}

bool Process::readLine(String& line) {
    return readLineInternal(Output::Stdout, line);
}

bool Process::readErrLine(String& line) {
    return readLineInternal(Output::Stderr, line);
}

bool Process::readLineInternal(Output which, String& line) {
    internal::ChildOutput& output = outputOf(which);
    if (output.takeCompleteLine(line)) return true;
    for (int pump = 0; pump < kMaxPumpsPerLine; ++pump) {
        processIO();
        const bool wasFull = output.lines.isFull();
        if (output.takeLine(line)) return true;
        if (!wasFull) break;
    }
    return false;
}

internal::ChildOutput& Process::outputOf(Output which) const {
    return which == Output::Stdout ? m_data->output : m_data->error;
}

size_t Process::waitingBytes(Output which) const {
    return outputOf(which).lines.size();
}

bool Process::hasOutput() const {
    return waitingBytes(Output::Stdout) + waitingBytes(Output::Stderr) != 0;
}

bool Process::waitForActivity(const FileHandle& wake, int timeoutMs) {
    internal::ProcessData& data = *m_data;
    if (!data.process.isOpen() && data.process.open(data.id)) return false;
    const bool hasInput = data.input.isOpen() && !data.input.bytes.waiting().empty();
    platform::SocketWatch watched[] = {
        {.socket = &wake, .forReceiving = true},
        {.socket = &data.process.handle(), .forReceiving = true},
        {.socket = &data.output.ownEnd, .forReceiving = data.output.isOpen()},
        {.socket = &data.error.ownEnd, .forReceiving = data.error.isOpen()},
        {.socket = &data.input.ownEnd, .forSending = hasInput},
    };
    return !platform::waitForSockets(watched, timeoutMs);
}

void Process::closeStdin() {
    m_data->input.close();
    m_data->input.bytes.clear();
    if (m_data->writer) m_data->writer->invalidate();
}

void Process::closeStdout() {
    m_data->output.close();
    if (m_data->reader) m_data->reader->invalidate();
}

void Process::closeStderr() {
    m_data->error.close();
}

void Process::closeStreams() {
    closeStdin();
    closeStdout();
    closeStderr();
}

bool Process::isEOF() {
    processIO();
    return m_data->output.isAtEnd();
}

bool Process::isErrEOF() {
    processIO();
    return m_data->error.isAtEnd();
}

bool Process::popReadAction() {
    processIO();
    return std::exchange(m_readAction, false);
}

// --- status ----------------------------------------------------------------------------------------------

void Process::setError(int64 code) {
    m_data->lastError = code;
}

bool Process::error() const {
    return m_data->lastError != 0;
}

String Process::errorText() const {
    return error() ? String(platform::errorText(m_data->lastError)) : String();
}

int Process::exitStatus() const {
    return m_data->exitStatus;
}

int64 Process::getProcessId() const {
    return m_data->id;
}

ProcessPacketReader* Process::getPacketReader() {
    internal::ProcessData& data = *m_data;
    if (!data.reader) data.reader = new ProcessPacketReader(data.output.wasClosed ? nullptr : this);
    return data.reader.get();
}

ProcessPacketWriter* Process::getPacketWriter() {
    internal::ProcessData& data = *m_data;
    if (!data.writer) data.writer = new ProcessPacketWriter(data.input.wasClosed ? nullptr : this);
    return data.writer.get();
}

} // namespace qel
