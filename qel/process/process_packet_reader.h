// ProcessPacketReader: packets from a child, and its other output as lines of the log.
#pragma once

#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/foundation/base/weak_pointer.h>
#include <qel/packet/packet_reader.h>
#include <qel/platform/api.h>
#include <qel/process/process.h>

#include <array>
#include <cstddef>
#include <deque>
#include <string_view>

namespace qel {

/// Reads a child's two outputs. Lines that are packets are returned; all others go to the log, each behind
/// "[PID:" and the child's number and "] ", and behind the text of setLogPrefix().
///
/// The level follows from what a line holds: "[ERROR]" or "[WARN]" gives error, "[VERBOSE]" verbose, all
/// others info; everything from standard error gives error.
///
/// With a trimmed log, the first 257 lines of a child are logged at once, and the last 256 when the reader is
/// destroyed, with a count of the lines left out between them. Of the last lines at most 16 MiB are kept.
///
/// Created by Process::getPacketReader(). @threads that of its Process.
class QEL_API ProcessPacketReader : public PacketReader {
    QEL_CLASS(ProcessPacketReader, PacketReader)

public:
    /// Reads from @p process, of which it takes no reference.
    explicit ProcessPacketReader(Process* process);
    /// Logs what a trimmed log kept back.
    ~ProcessPacketReader() override;

    /// Whether there is a process with an open standard output.
    bool valid() override { return static_cast<bool>(m_process); }
    /// As readTimeout() without a limit.
    SmartPointer<Packet> read() override;
    /// Logs what waits on standard error, then what waits on standard output up to the first packet.
    /// However fast the child writes, of each stream no more is taken in one call than what had been read
    /// before and twice what a pipe can hold, so that it always returns.
    /// @param timeout  0 for no limit, else null is returned once more than this has passed since
    ///                 @p startTime, in milliseconds of System::getTime(); looked at every 256 lines.
    /// @return the packet, which is not bound to a scheme; null when there is none.
    SmartPointer<Packet> readTimeout(uint32 startTime, uint32 timeout) override;

    /// What stands between the child's number and each line.
    void setLogPrefix(SmartCStr text) { m_logPrefix = text.c_str(); }
    /// Lines without a tag are logged as verbose. Off by default.
    void setRedirectUntaggedToVerbose(bool on) { m_untaggedIsVerbose = on; }
    /// Warnings, errors and everything from standard error are logged as info. Off by default.
    void setStderrAsInfo(bool on) { m_stderrIsInfo = on; }
    /// Keeps a child that floods its output from flooding the log. It stays on.
    void enableTrimmedLog() { m_isTrimmed = true; }
    /// Forgets the process.
    void invalidate() { m_process = nullptr; }

private:
    /// What a line is, numbered as the counters of the trimmed log are.
    enum Kind : unsigned { kUntagged = 0, kWarning = 1, kError = 2, kVerbose = 3 };
    struct Line {
        Kind kind;
        String text;
    };
    class Watch;

    bool drainErrors(Watch& watch);
    SmartPointer<Packet> readOutput(Watch& watch);
    Kind classify(const String& line) const;
    int liveLevel(Kind kind) const;
    int levelOfTrouble(int level) const { return m_stderrIsInfo ? 1 : level; }
    void take(Kind kind, const String& line);
    void keep(Kind kind, const String& line);
    void log(int level, std::string_view text);
    void logTrimmed();

    WeakPointer<Process> m_process;
    int64 m_processId = 0; // the last that was seen
    String m_logPrefix;
    bool m_untaggedIsVerbose = false;
    bool m_stderrIsInfo = false;
    bool m_isTrimmed = false;
    uint32 m_lineCount = 0;
    std::deque<Line> m_kept;
    size_t m_keptBytes = 0;
    std::array<uint64, 4> m_trimmed{}; // by kind of the line whose coming dropped one
};

} // namespace qel
