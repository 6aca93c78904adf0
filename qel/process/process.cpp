#include <qel/process/process.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/platform/child_process.h>
#include <qel/platform/system_error.h>
#include <qel/process/command_text_p.h>
#include <qel/process/killed_children.h>
#include <qel/process/process_state_p.h>
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

Process::Process() : m_state(std::make_unique<State>()) {}

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
        logging::error() << "starting process '" << command << "' failed, error: " << m_state->lastError;
    }
    logging::error() << "can not start subprocess " << path << " error: " << errorText();
    return false;
}

bool Process::startChild(const String& path, const List<String>& args, const char* workingDirectory) {
    internal::collectKilledChildren();
    State& state = *m_state;
    if (state.id != 0) {
        setError(static_cast<int64>(std::errc::device_or_resource_busy));
        return false;
    }
    platform::ChildStart start;
    start.program = path;
    start.arguments.assign(args.begin(), args.end());
    if (args.empty()) start.arguments.push_back(path);
    if (workingDirectory) start.workingDirectory = workingDirectory;

    FileError error = openPipe(state.input, true);
    if (!error) error = openPipe(state.output, false);
    if (!error) error = openPipe(state.error, false);
    if (!error) {
        error = platform::startChild(state.id, start, state.input.childEnd, state.output.childEnd,
                                     state.error.childEnd);
    }
    state.isRunning = !error;
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
    State& state = *m_state;
    if (!state.isRunning) return false;
    bool ended = false;
    if (const FileError error = platform::collectChild(state.id, ended, state.exitStatus)) {
        loseExitStatus(error.value());
        return false;
    }
    state.isRunning = !ended;
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
    State& state = *m_state;
    if (!state.isRunning) return true;
    const FileError error = killChild(state.id, wait);
    if (error) setError(error.value());
    state.isRunning = false;
    state.exitStatus = -1;
    return !error;
}

void Process::sendBreak() {
    if (!m_state->isRunning) return;
    if (const FileError error = platform::interruptProcessGroup(m_state->id)) setError(error.value());
}

// --- streams ---------------------------------------------------------------------------------------------

void Process::connect(FileHandle input, FileHandle output, FileHandle error) {
    m_state->input.ownEnd = std::move(input);
    m_state->output.ownEnd = std::move(output);
    m_state->error.ownEnd = std::move(error);
}

void Process::processIO() {
    writeStdin();
    readStdout();
    readStderr();
}

void Process::writeStdin() {
    const FileError error = m_state->input.write();
    if (!error) return;
    setError(error.value());
    closeStdin();
}

void Process::readStdout() {
    const FileError error = m_state->output.read(m_readAction);
    if (error) setError(error.value());
    if (error || m_state->output.wasClosed) closeStdout();
}

void Process::readStderr() {
    const FileError error = m_state->error.read(m_readAction);
    if (!error) return;
    setError(error.value());
    closeStderr();
}

void Process::writeLine(const String& line) {
    internal::ChildInput& input = m_state->input;
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
    internal::ChildOutput& output = m_state->outputOf(which);
    if (output.takeCompleteLine(line)) return true;
    for (int pump = 0; pump < kMaxPumpsPerLine; ++pump) {
        processIO();
        const bool wasFull = output.lines.isFull();
        if (output.takeLine(line)) return true;
        if (!wasFull) break;
    }
    return false;
}

size_t Process::waitingBytes(Output which) const {
    return m_state->outputOf(which).lines.size();
}

bool Process::hasOutput() const {
    return waitingBytes(Output::Stdout) + waitingBytes(Output::Stderr) != 0;
}

void Process::closeStdin() {
    m_state->input.close();
    m_state->input.bytes.clear();
    if (m_state->writer) m_state->writer->invalidate();
}

void Process::closeStdout() {
    m_state->output.close();
    if (m_state->reader) m_state->reader->invalidate();
}

void Process::closeStderr() {
    m_state->error.close();
}

void Process::closeStreams() {
    closeStdin();
    closeStdout();
    closeStderr();
}

bool Process::isEOF() {
    processIO();
    return m_state->output.isAtEnd();
}

bool Process::isErrEOF() {
    processIO();
    return m_state->error.isAtEnd();
}

bool Process::popReadAction() {
    processIO();
    return std::exchange(m_readAction, false);
}

// --- status ----------------------------------------------------------------------------------------------

void Process::setError(int64 code) {
    m_state->lastError = code;
}

bool Process::error() const {
    return m_state->lastError != 0;
}

String Process::errorText() const {
    return error() ? String(platform::errorText(m_state->lastError)) : String();
}

int Process::exitStatus() const {
    return m_state->exitStatus;
}

int64 Process::getProcessId() const {
    return m_state->id;
}

ProcessPacketReader* Process::getPacketReader() {
    State& state = *m_state;
    if (!state.reader) state.reader = new ProcessPacketReader(state.output.wasClosed ? nullptr : this);
    return state.reader.get();
}

ProcessPacketWriter* Process::getPacketWriter() {
    State& state = *m_state;
    if (!state.writer) state.writer = new ProcessPacketWriter(state.input.wasClosed ? nullptr : this);
    return state.writer.get();
}

} // namespace qel
