// ProcessPacketReader: reads packets from a child and logs its other output.
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

/// Reads the two outputs of a child. Lines that are packets are returned. All other lines are logged after
/// "[PID:", the child's process id, "] " and the text of setLogPrefix().
///
/// The level depends on the content: lines that contain "[ERROR]" or "[WARN]" and all lines from standard
/// error are logged as errors, lines that contain "[VERBOSE]" as verbose, and all others as info.
///
/// With a trimmed log, the first 257 lines of a child are logged at once, and the last 256 when the reader is
/// destroyed, with the number of omitted lines between them. At most 16 MiB of the last lines are kept.
///
/// Created by Process::getPacketReader(). @threads that of its Process.
class QEL_API ProcessPacketReader : public PacketReader {
    QEL_CLASS(ProcessPacketReader, PacketReader)

public:
    /// Reads from @p process. @owner holds no reference to it.
    explicit ProcessPacketReader(Process* process);
    /// Logs the last lines of a trimmed log.
    ~ProcessPacketReader() override;

    /// Returns true if the process exists and its standard output is open.
    bool valid() override { return static_cast<bool>(m_process); }
    /// As readTimeout() without a limit.
    SmartPointer<Packet> read() override;
    /// Logs the available lines of standard error, then those of standard output up to the first packet. To
    /// return even if the child writes without a pause, one call takes from each stream no more than the
    /// buffered bytes and twice the capacity of a pipe.
    /// @param timeout  the time in milliseconds after @p startTime, a value of System::getTime(), after which
    ///                 null is returned; 0 for no limit. It is checked every 256 lines.
    /// @return the packet, which is not bound to a scheme; null if no packet has arrived.
    SmartPointer<Packet> readTimeout(uint32 startTime, uint32 timeout) override;

    /// Sets the text between the child's process id and each line.
    void setLogPrefix(SmartCStr text) { m_logPrefix = text.c_str(); }
    /// Sets whether lines without a tag are logged as verbose. Off by default.
    void setRedirectUntaggedToVerbose(bool on) { m_untaggedIsVerbose = on; }
    /// Sets whether warnings, errors and all lines from standard error are logged as info. Off by default.
    void setStderrAsInfo(bool on) { m_stderrIsInfo = on; }
    /// Trims the log, so that a child that floods its output does not flood the log. It can't be switched
    /// off.
    void enableTrimmedLog() { m_isTrimmed = true; }
    /// Detaches the reader from its process.
    void invalidate() { m_process = nullptr; }

private:
    /// The kinds of lines, which are also indices of the counters of the trimmed log.
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
    int64 m_processId = 0; // the last known id
    String m_logPrefix;
    bool m_untaggedIsVerbose = false;
    bool m_stderrIsInfo = false;
    bool m_isTrimmed = false;
    uint32 m_lineCount = 0;
    std::deque<Line> m_kept;
    size_t m_keptBytes = 0;
    std::array<uint64, 4> m_trimmed{}; // by kind of the new line that displaced one
};

} // namespace qel
