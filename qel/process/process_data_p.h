// ProcessData: what a Process consists of.
#pragma once

#include <qel/foundation/base/line_splitter.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/platform/child_process.h>
#include <qel/platform/file_system.h>
#include <qel/process/byte_queue_p.h>
#include <qel/process/process.h>
#include <qel/process/process_packet_reader.h>
#include <qel/process/process_packet_writer.h>

#include <utility>

namespace qel::internal {

/// Both ends of a stream. The child's end is kept open as well, so that the end of the child does not close
/// the stream, and a write never meets a pipe without a reader, which would raise a signal.
struct ChildStream {
    platform::FileHandle ownEnd;
    platform::FileHandle childEnd;
    bool wasClosed = false;

    bool isOpen() const { return ownEnd.isOpen(); }
    void close() {
        ownEnd.close();
        childEnd.close();
        wasClosed = true;
    }
};

/// A stream from the child and the bytes that were read from it.
struct ChildOutput : ChildStream {
    static constexpr LineSplitter::Rules kRules{.lineEnd = LineEnd::LineFeedOrReturn,
                                                .longestLine = Process::kMaxLineBytes};
    LineSplitter lines{kRules};

    /// Reads while there is room. @return the error that stopped it, if any.
    platform::FileError read(bool& gotData);
    /// Takes the next complete line; logs lines that are too long. @return false if no line is complete.
    bool takeCompleteLine(String& line);
    /// Takes the next line, or the unfinished last line of a closed stream.
    bool takeLine(String& line);
    bool isAtEnd() const { return !isOpen() && lines.empty(); }
};

/// A stream to the child and the bytes that have not been written to it yet.
struct ChildInput : ChildStream {
    ByteQueue bytes;

    /// Writes as much as possible. @return the error that stopped it, if any.
    platform::FileError write();
};

/// The streams of a child, its identity and what it left.
struct ProcessData {
    ChildInput input;
    ChildOutput output;
    ChildOutput error;
    int64 id = 0;
    platform::ProcessHandle process; // opened by the first wait
    bool isRunning = false;
    int64 lastError = 0;
    int exitStatus = 0;
    SmartPointer<ProcessPacketReader> reader;
    SmartPointer<ProcessPacketWriter> writer;
};

} // namespace qel::internal
