#include <qel/process/process_packet_reader.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/system/core/system.h>

#include <algorithm>

namespace qel {

namespace {

constexpr uint32 kLinesBetweenTimeChecks = 256;
/// The bytes that a call takes in addition to the buffered ones: twice the capacity of a pipe, so that it
/// takes everything that was in the pipe when it began.
constexpr size_t kMaxNewBytesPerCall = size_t{2} << 20;

constexpr uint32 kLinesBeforeTrimming = 257;
constexpr size_t kKeptLines = 256;
/// Bounds the memory for the last lines; 256 lines of 64 KiB fit.
constexpr size_t kMaxKeptBytes = size_t{16} << 20;
constexpr uint32 kTooManyLines = 10'000;

constexpr int kVerboseLevel = 0;
constexpr int kInfoLevel = 1;
constexpr int kWarningLevel = 2;
constexpr int kErrorLevel = 3;

} // namespace

/// Limits the duration of a call.
class ProcessPacketReader::Watch {
public:
    Watch(uint32 startTime, uint32 timeout) : m_startTime(startTime), m_timeout(timeout) {}

    void beginStream(size_t waitingBytes) { m_bytesLeft = waitingBytes + kMaxNewBytesPerCall; }
    /// Returns true if the time is over.
    bool isOver() const { return m_timeout != 0 && system()->getTime() - m_startTime > m_timeout; }
    /// Counts a line that was taken. @return true if the time is over.
    bool takeLine(const String& line) {
        m_bytesLeft -= std::min(line.size() + 1, m_bytesLeft);
        return ++m_lines % kLinesBetweenTimeChecks == 0 && isOver();
    }
    /// Returns true if one call must not take more from the stream.
    bool isStreamOver() const { return m_bytesLeft == 0; }

private:
    uint32 m_startTime;
    uint32 m_timeout;
    uint32 m_lines = 0;
    size_t m_bytesLeft = 0;
};

ProcessPacketReader::ProcessPacketReader(Process* process) : m_process(process) {}

ProcessPacketReader::~ProcessPacketReader() {
    if (!m_kept.empty()) logTrimmed();
}

SmartPointer<Packet> ProcessPacketReader::read() {
    return readTimeout(0, 0);
}

SmartPointer<Packet> ProcessPacketReader::readTimeout(uint32 startTime, uint32 timeout) {
    Watch watch(startTime, timeout);
    if (!m_process || watch.isOver() || !drainErrors(watch)) return nullptr;
    return readOutput(watch);
}

/// Logs the lines of standard error. @return false if the time is over.
bool ProcessPacketReader::drainErrors(Watch& watch) {
    watch.beginStream(m_process->waitingBytes(Process::Output::Stderr));
    String line;
    while (m_process && !watch.isStreamOver() && m_process->readErrLine(line)) {
        if (!line.empty()) take(kError, line);
        if (watch.takeLine(line)) return false;
    }
    return true;
}

SmartPointer<Packet> ProcessPacketReader::readOutput(Watch& watch) {
    if (!m_process) return nullptr;
    watch.beginStream(m_process->waitingBytes(Process::Output::Stdout));
    String line;
    while (m_process && !watch.isStreamOver() && m_process->readLine(line)) {
        if (!line.empty()) {
            if (SmartPointer<Packet> packet = Packet::createFromBase16String(line)) return packet;
            take(classify(line), line);
        }
        if (watch.takeLine(line)) break;
    }
    return nullptr;
}

ProcessPacketReader::Kind ProcessPacketReader::classify(const String& line) const {
    if (line.contains("[ERROR]")) return kError;
    if (line.contains("[WARN]")) return kWarning;
    if (line.contains("[VERBOSE]") || m_untaggedIsVerbose) return kVerbose;
    return kUntagged;
}

int ProcessPacketReader::liveLevel(Kind kind) const {
    if (kind == kVerbose) return kVerboseLevel;
    return kind == kUntagged ? kInfoLevel : levelOfTrouble(kErrorLevel);
}

void ProcessPacketReader::log(int level, std::string_view text) {
    if (m_process) m_processId = m_process->getProcessId();
    logging::MessageStream stream(level, 2);
    stream << "[PID:";
    m_processId != 0 ? stream << m_processId : stream << "INVALID";
    stream << "] " << m_logPrefix << text;
}

// --- the trimmed log -------------------------------------------------------------------------------------

void ProcessPacketReader::take(Kind kind, const String& line) {
    if (!m_isTrimmed || ++m_lineCount <= kLinesBeforeTrimming) return log(liveLevel(kind), line);
    if (m_lineCount == kTooManyLines) log(kErrorLevel, "process produced too much log output");
    keep(kind, line);
}

void ProcessPacketReader::keep(Kind kind, const String& line) {
    m_kept.push_back({kind, line});
    m_keptBytes += line.size();
    while (m_kept.size() > kKeptLines || (m_keptBytes > kMaxKeptBytes && m_kept.size() > 1)) {
        m_keptBytes -= m_kept.front().text.size();
        m_kept.pop_front();
        ++m_trimmed[kind];
    }
}

void ProcessPacketReader::logTrimmed() {
    const auto [untagged, warnings, errors, verbose] = m_trimmed;
    const uint64 total = untagged + warnings + errors + verbose;
    const int warningLevel = levelOfTrouble(kWarningLevel);
    const String count = std::to_string(total);
    const String errorCount = std::to_string(errors);
    // The line about warnings prints the count of errors, because readers of these logs expect it.
    if (warnings != 0) log(warningLevel, "... trimmed " + count + " lines (" + errorCount + " warnings) ...");
    if (errors != 0)
        log(liveLevel(kError), "... trimmed " + count + " lines (" + errorCount + " errors) ...");
    if (warnings != 0 || errors != 0) {
        log(kInfoLevel, "... trimmed " + std::to_string(untagged + verbose) + " info/verbose lines ...");
    } else if (total != 0) {
        log(kInfoLevel, "... trimmed " + count + " lines ...");
    }
    for (const Line& line : m_kept)
        log(line.kind == kWarning ? warningLevel : liveLevel(line.kind), line.text);
}

} // namespace qel
